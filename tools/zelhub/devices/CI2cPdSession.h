#pragma once

#include "tools/zelhub/devices/CHubSession.h"
#include "tools/zelhub/devices/CPdSession.h"

/// A PD controller behind the chosen hub, which stays open as its master. The hub is never
/// restarted here.
class CI2cPdSession : public CPdSession
{
public:
    /// @param bySlaveAddr the 8-bit address
    CI2cPdSession(CHubSession& hub, BYTE bySlaveAddr);

    bool IsRoadOpen() override { return m_hub.IsOnBus(); }
    std::vector<Field> Fields(const std::vector<Field>& more) const override;

    /// The last transfer ran into its time-out: something holds the bus down, since an address
    /// where nobody is refuses at once.
    bool IsBusStuck();
    [[noreturn]] void RefuseStuckBus();

protected:
    std::string SelectorText() const override;
    const char* PlugText() const override { return "the hub"; }
    std::string BenchId() override;
    [[noreturn]] void RefuseSilence(const std::string& strWhy) override;

private:
    CHubSession& m_hub;
    BYTE m_bySlaveAddr;
};

/// "0x42 (7-bit 0x21)"
std::string PdAddressText(BYTE bySlaveAddr);

/// Refuses what is no 8-bit address of a device on the bus: throws CToolError (usage).
BYTE CheckPdAddress(unsigned long long nAddress);

constexpr BYTE kFirstPdAddress = 0x10; ///< 8-bit; lower and higher ones are reserved on I2C
constexpr BYTE kLastPdAddress = 0xEE;
