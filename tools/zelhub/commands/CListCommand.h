#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub list: the hubs on the machine, whoever made them.
class CListCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "list"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;

private:
    bool m_bDetails = false;
};
