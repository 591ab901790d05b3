#pragma once

#include "tools/zelhub/commands/ICommand.h"
#include "tools/zelhub/devices/CHubSession.h"

/// zelhub hid list: the HID collections on the machine.
class CHidCommand : public ICommand
{
public:
    const char* Name() const override { return "hid"; }
    void Declare(CArguments& root) override;
    bool Chosen() const override { return m_list->Chosen(); }
    void Run(CToolContext& context) override;

private:
    std::optional<CArguments> m_list;
};
