#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub watch: shows hubs coming and going.
class CWatchCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "watch"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;

private:
    CArguments::Value m_nSeconds = 0;
    CArguments::Value m_nEvents = 0;
};
