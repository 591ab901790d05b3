#pragma once

#include "tools/zelhub/commands/ICommand.h"
#include "tools/zelhub/devices/CHubSession.h"

/// zelhub ec read|write: registers of the machine's embedded controller.
class CEcCommand : public ICommand
{
public:
    const char* Name() const override { return "ec"; }
    void Declare(CArguments& root) override;
    bool Chosen() const override { return m_read->Chosen() || m_write->Chosen(); }
    double DefaultTimeout() const override { return 10; }
    void Run(CToolContext& context) override;

private:
    void DeclareCommon(CArguments& args);
    void CheckArguments() const;
    void CheckController(CHubSession& session) const;
    Failure Endless(const char* pszPhase, const char* pszState) const;
    BYTE Read(CHubSession& session, BYTE byRegister, const char* pszPhase,
              const char* pszState) const;
    void Write(CHubSession& session) const;
    void Verify(CHubSession& session, BYTE byRegister) const;
    std::string PortsText() const;

    std::optional<CArguments> m_read;
    std::optional<CArguments> m_write;
    CArguments::Value m_wCommandPort = 0x66;
    CArguments::Value m_wDataPort = 0x62;
    CArguments::Value m_byRegister = 0;
    CArguments::Value m_nCount = 1;
    CArguments::Value m_byValue = 0;
    bool m_bForce = false;
    bool m_bNoVerify = false;
    bool m_bYes = false;
};
