#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub verify IMAGE: compares a hub's flash with an image, byte by byte.
class CVerifyCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "verify"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;

private:
    std::string m_strImage;
};
