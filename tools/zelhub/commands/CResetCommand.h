#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub reset: restarts a hub and waits until it is back.
class CResetCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "reset"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;

private:
    bool m_bToRom = false;
};
