#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub ports: the devices on the ports of all hubs.
class CPortsCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "ports"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;
};
