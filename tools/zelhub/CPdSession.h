#pragma once

#include "tools/zelhub/CGuardedPdDev.h"
#include "tools/zelhub/CHubSession.h"
#include "tools/zelhub/COperationWatch.h"
#include "tools/zelhub/UpdateGuards.h"

/// What a PD controller says of itself.
struct PdStatus
{
    std::array<BYTE, 20> bytes = {};

    bool RunsFlash() const { return bytes[0] != 0; }
    USHORT Version() const { return static_cast<USHORT>(bytes[3] << 8 | bytes[4]); }
    bool Validates() const { return (bytes[13] & 0x08) != 0; }
    bool ChecksCrc() const { return (bytes[13] & 0x04) != 0; }
    unsigned RunningBank() const { return (bytes[14] & 0x10) != 0 ? 1 : 0; }
};

/// A PD controller behind the chosen hub, which stays open as its master. The hub is never
/// restarted here.
class CPdSession
{
public:
    /// @param bySlaveAddr the 8-bit address
    CPdSession(CHubSession& hub, BYTE bySlaveAddr);
    CPdSession(const CPdSession&) = delete;
    CPdSession& operator=(const CPdSession&) = delete;
    ~CPdSession();

    CHubSession& Hub() { return m_hub; }
    CToolContext& Context() { return m_hub.Context(); }
    CGuardedPdDev& Dev() { return m_dev; }
    CUniversalFlow& Flow() { return *m_pFlow; }

    /// Asks politely: a read, which changes nothing.
    std::optional<PdStatus> TryStatus();
    PdStatus Status(); ///< throws CToolError where it does not answer

    bool Answers(); ///< it can be reached now

    /// Waits for it after it was restarted. @return whether it answers
    bool WaitForReturn();

    /// Flash of a bank from its start, with progress. Throws CToolError.
    std::vector<BYTE> ReadBank(unsigned nBank, DWORD cb, const char* pszWhat);

    /// What the guards compare. Reads the chip ID where the running code is (or was) stored.
    HubBefore Before();

    /// A watch over its operations.
    COperationWatch Watch(const std::string& strRepeat, DWORD cbImage, bool bDualBank);

    std::vector<Field> Fields(const std::vector<Field>& more) const;

private:
    bool ReadSure(DWORD dwAddr, std::vector<BYTE>& bytes);
    [[noreturn]] void RefuseSilence();

    CHubSession& m_hub;
    BYTE m_bySlaveAddr;
    CGuardedPdDev m_dev;
    std::unique_ptr<CUniversalFlow> m_pFlow;
};

/// "0x42 (7-bit 0x21)"
std::string PdAddressText(BYTE bySlaveAddr);

/// Refuses what is no 8-bit address of a device on the bus: throws CToolError (usage).
BYTE CheckPdAddress(unsigned long long nAddress);

constexpr BYTE kFirstPdAddress = 0x10; ///< 8-bit; lower and higher ones are reserved on I2C
constexpr BYTE kLastPdAddress = 0xEE;
