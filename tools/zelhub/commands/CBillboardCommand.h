#pragma once

#include "tools/zelhub/commands/CPdChipCommand.h"

/// zelhub billboard ...: PD controllers that enumerate as billboard devices.
class CBillboardCommand : public CPdChipCommand
{
public:
    const char* Name() const override { return "billboard"; }

protected:
    CArguments DeclareGroup(CArguments& root) override;
    void DeclareSelector(CArguments& args) override;
    void CheckSelector() const override;
    void List(CToolContext& context) override;
    void Open(CToolContext& context, const Work& work) override;

private:
    std::string m_strDevice;
};
