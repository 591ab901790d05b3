#pragma once

#include "tools/zelhub/commands/CPdChipCommand.h"
#include "tools/zelhub/devices/CHubSession.h"

/// zelhub pd ...: PD controllers behind a hub's I2C bus.
class CPdCommand : public CPdChipCommand
{
public:
    const char* Name() const override { return "pd"; }

protected:
    CArguments DeclareGroup(CArguments& root) override;
    void DeclareSelector(CArguments& args) override;
    void CheckSelector() const override;
    void List(CToolContext& context) override;
    void Open(CToolContext& context, const Work& work) override;

private:
    CArguments::Value m_nAddress = 0;
};
