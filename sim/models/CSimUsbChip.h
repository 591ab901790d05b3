#pragma once

#include "sim/models/CSimHubBanks.h"
#include "sim/models/CSimMisuse.h"
#include "sim/models/ISimUsbDevice.h"
#include "sim/models/SimFaultPlan.h"

#include <map>
#include <memory>
#include <optional>

/// How a reset takes a device off the bus and brings it back.
struct SimReturn
{
    CSimClock::Micros usLeave = 50'000;     ///< from the reset to dropping off the bus
    CSimClock::Micros usReturn = 1'500'000; ///< from dropping off to being back
    bool bNewInstance = false;              ///< it comes back as another device node
    bool bNever = false;                    ///< it stays away until it is powered up
};

/// What a device's descriptors say.
struct SimUsbIdentity
{
    USHORT usVid = 0x5678;
    USHORT usPid = 0x1234;
    USHORT usBcdDevice = 0x0100;
    USHORT usBcdUsb = 0x0210;
    BYTE byClass = 0x09;
    BYTE byProtocol = 1; ///< hubs: 1 single TT, 2 multiple TTs, 3 SuperSpeed
    std::map<BYTE, WString> strings;
};

/// What every chip with an endpoint 0 has: descriptors, its place on the bus, resets that take
/// it away for a while, faults by plan, and time.
///
/// A transfer costs 60 us and 1 us per 32 bytes of data, then what the chip works. Work that
/// outlasts the transfer's time-out (0: none) goes on behind it, and the next transfer waits.
/// The clock and the ports must outlive the chip.
class CSimUsbChip : public ISimUsbDevice
{
public:
    static constexpr CSimClock::Micros kTransferMicros = 60;
    static constexpr DWORD kBytesPerMicro = 32;

    CSimUsbChip(CSimClock& clock, SimUsbIdentity identity);
    ~CSimUsbChip() override;
    CSimUsbChip(const CSimUsbChip&) = delete;
    CSimUsbChip& operator=(const CSimUsbChip&) = delete;

    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs) final;

    /// Ports that learn of leaving and returning; a hub with a SuperSpeed half has two.
    void AddPort(ISimPort* pPort) { m_ports.push_back(pPort); }
    bool IsOnBus() const { return m_bOnBus; }

    /// Power off and on: starts anew and is on the bus at once, as the same node or another.
    void PowerUp(bool bNewInstance = false);
    /// The plug is pulled; only PowerUp brings it back.
    void Unplug();
    /// From now on it sleeps: the next nReads descriptor reads fail with 21.
    void Suspend(unsigned nReads) { m_nResumeReads = nReads; }

    /// How resets take it off the bus from now on, and the next reset alone.
    void SetReturn(const SimReturn& ret) { m_return = ret; }
    void SetNextReturn(const SimReturn& ret) { m_nextReturn = ret; }

    SimFaultPlan& Faults() { return m_faults; }
    std::uint64_t Transfers() const { return m_faults.Transfers(); }
    CSimMisuse& Misuse() { return m_misuse; }
    SimUsbIdentity& Identity() { return m_identity; }

protected:
    struct Request
    {
        const SETUP_PACKET& setup;
        BYTE* pData;
        DWORD dwTimeoutMs;

        bool IsIn() const { return (setup.bmRequestType & 0x80) != 0; }
        DWORD Address() const { return setup.wValue | static_cast<DWORD>(setup.wIndex) << 16; }
    };

    /// Carries out a request that is no GET_DESCRIPTOR of a device or string descriptor.
    virtual SimTransferResult Perform(const Request& request) = 0;
    /// All volatile state starts anew, with the code that eStart chooses.
    virtual void Restart(SimStart eStart) = 0;

    void Work(CSimClock::Micros us) { m_usWork += us; }
    void ScheduleReset(SimStart eStart);
    void SetOnBus(bool bOnBus) { m_bOnBus = bOnBus; }

    static SimTransferResult Done(const Request& request)
    {
        return {kErrNone, 0, request.setup.wLength};
    }
    static SimTransferResult Stall() { return {kErrGenFailure, 0, 0}; }
    /// Stalls and notes the misuse: "reason: request 0x40/0x02, wValue ...".
    SimTransferResult Misused(const std::string& reason, const SETUP_PACKET& setup);
    /// Sends up to cb bytes, as many as the request asks for.
    static SimTransferResult Answer(const Request& request, const BYTE* pFrom, std::size_t cb);

    CSimClock& Clock() { return m_clock; }

private:
    using Event = void (CSimUsbChip::*)();

    SimTransferResult Faulty(const SimFault& fault, const Request& request);
    SimTransferResult Corrupted(const SimFault& fault, const Request& request);
    SimTransferResult Carry(const Request& request);
    SimTransferResult PerformOrDescribe(const Request& request);
    std::optional<SimTransferResult> Descriptor(const Request& request);
    void BeginAnew(SimStart eStart);
    void Later(CSimClock::Micros us, Event pfnWhat);
    void LeaveForReset();
    void ReturnFromReset();
    void Leave();
    void Return(bool bNewInstance);

    CSimClock& m_clock;
    SimUsbIdentity m_identity;
    SimFaultPlan m_faults;
    CSimMisuse m_misuse;
    std::vector<ISimPort*> m_ports;
    SimReturn m_return;
    std::optional<SimReturn> m_nextReturn;
    SimReturn m_currentReturn;
    SimStart m_eNextStart = SimStart::PowerUp;
    bool m_bOnBus = true;
    bool m_bResetting = false; ///< a reset was accepted, the chip is about to leave
    unsigned m_nResumeReads = 0;
    CSimClock::Micros m_usWork = 0; ///< what the request at hand costs beyond the wire
    CSimClock::Micros m_usBusyUntil = 0;
    std::shared_ptr<int> m_pEpoch; ///< events of an earlier start find theirs gone
};
