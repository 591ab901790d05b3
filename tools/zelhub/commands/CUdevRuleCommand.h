#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub udev-rule: a rule file that lets who sits at the machine open the maker's hubs.
class CUdevRuleCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "udev-rule"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;
};
