#pragma once

#include "tools/zelhub/commands/ICommand.h"
#include "tools/zelhub/devices/CHubSession.h"

/// zelhub erase: erases a hub's flash and looks whether it is blank.
class CEraseCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "erase"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;

private:
    void CheckBlank(CHubSession& session, DWORD cb) const;

    CArguments::Value m_cbCheck = 0x8000;
    bool m_bYes = false;
};
