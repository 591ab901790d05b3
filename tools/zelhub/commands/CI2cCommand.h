#pragma once

#include "tools/zelhub/commands/ICommand.h"
#include "tools/zelhub/devices/CHubSession.h"

/// zelhub i2c read|write: traffic on a hub's own I2C port.
class CI2cCommand : public ICommand
{
public:
    const char* Name() const override { return "i2c"; }
    void Declare(CArguments& root) override;
    bool Chosen() const override;
    void Run(CToolContext& context) override;

private:
    void DeclareCommon(CArguments& args);
    void Configure(CHubSession& session) const;
    void Read(CHubSession& session) const;
    void Write(CHubSession& session) const;

    std::optional<CArguments> m_read;
    std::optional<CArguments> m_write;
    CArguments::Value m_dwAddress = 0;
    CArguments::Value m_cb = 0;
    CArguments::Value m_byConfigA = 0;
    CArguments::Value m_byConfigB = 0;
    CArguments::Value m_byConfigC = 0;
    std::string m_strData;
    bool m_bYes = false;
};
