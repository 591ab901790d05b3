#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub info IMAGE: what is in an image file; needs no hub.
class CInfoCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "info"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;

private:
    std::string m_strImage;
    CArguments::Value m_cbFlash = 0;
};
