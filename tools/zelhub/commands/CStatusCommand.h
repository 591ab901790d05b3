#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub status: a hub's 20 status bytes, decoded.
class CStatusCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "status"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;
};
