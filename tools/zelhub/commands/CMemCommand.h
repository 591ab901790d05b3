#pragma once

#include "tools/zelhub/commands/ICommand.h"
#include "tools/zelhub/devices/CHubSession.h"

/// zelhub mem read|write: the machine's memory, through the hub driver.
class CMemCommand : public ICommand
{
public:
    const char* Name() const override { return "mem"; }
    void Declare(CArguments& root) override;
    bool Chosen() const override { return m_read->Chosen() || m_write->Chosen(); }
    void Run(CToolContext& context) override;

private:
    void CheckArguments() const;
    void Read(CHubSession& session) const;
    void Write(CHubSession& session) const;

    std::optional<CArguments> m_read;
    std::optional<CArguments> m_write;
    CArguments::Value m_dwAddress = 0;
    CArguments::Value m_cb = 0;
    std::string m_strData;
    bool m_bNoVerify = false;
    bool m_bYes = false;
};
