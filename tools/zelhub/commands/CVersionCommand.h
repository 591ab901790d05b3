#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub version: the version that a hub runs.
class CVersionCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "version"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;
};
