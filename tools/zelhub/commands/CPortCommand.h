#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub port read|write: the machine's I/O ports, through the port driver or the hub driver.
class CPortCommand : public ICommand
{
public:
    const char* Name() const override { return "port"; }
    void Declare(CArguments& root) override;
    bool Chosen() const override { return m_read->Chosen() || m_write->Chosen(); }
    void Run(CToolContext& context) override;

private:
    void DeclareCommon(CArguments& args);
    void CheckArguments() const;
    DWORD Access(CToolContext& context) const;

    std::optional<CArguments> m_read;
    std::optional<CArguments> m_write;
    CArguments::Value m_wPort = 0;
    CArguments::Value m_dwValue = 0;
    std::string m_strWidth = "1";
    std::string m_strDriver = "port";
    bool m_bYes = false;
};
