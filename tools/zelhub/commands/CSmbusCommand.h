#pragma once

#include "tools/zelhub/commands/ICommand.h"
#include "tools/zelhub/devices/CPortDriver.h"

/// zelhub smbus read|write: blocks of devices behind the machine's SMBus controller.
class CSmbusCommand : public ICommand
{
public:
    const char* Name() const override { return "smbus"; }
    void Declare(CArguments& root) override;
    bool Chosen() const override { return m_read->Chosen() || m_write->Chosen(); }
    double DefaultTimeout() const override { return 10; }
    void Run(CToolContext& context) override;

private:
    void DeclareCommon(CArguments& args);
    void CheckArguments() const;
    void CheckController(CPortDriver& ports) const;
    void CheckBase(CPortDriver& ports) const;

    enum class Step
    {
        Read,
        Write,
        Verify
    };

    /// One block command. @param block what is written @return the block
    std::vector<BYTE> Transfer(CPortDriver& ports, Step eStep,
                               const std::vector<BYTE>& block = {}) const;
    [[noreturn]] void RefuseTransfer(CPortDriver& ports, Step eStep) const;
    static Failure FailureOf(Step eStep, ExitCode eCode, std::string strWhat, std::string strNext);
    void Verify(CPortDriver& ports, const std::vector<BYTE>& block) const;
    std::vector<Field> Fields(const std::vector<Field>& more) const;

    std::optional<CArguments> m_read;
    std::optional<CArguments> m_write;
    CArguments::Value m_dwBase = 0;
    CArguments::Value m_byAddress = 0;
    CArguments::Value m_byCommand = 0;
    std::string m_strData;
    bool m_bByByte = false;
    bool m_bVerify = false;
    bool m_bYes = false;
};
