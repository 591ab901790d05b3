#pragma once

#include "sim/models/CSimClock.h"
#include "sim/models/ISimUsbDevice.h"
#include "sim/usbip/UsbipPackets.h"

#include <deque>
#include <functional>
#include <optional>
#include <set>

/// One device's conversation with vhci_hcd, from attaching to leaving: bytes in, bytes out.
///
/// Control transfers are carried out in their order, one at a time. A model's clock runs ahead by
/// the time that a transfer takes; the answer goes out when the clock outside has followed. A
/// transfer that times out or whose device is gone is never answered: the kernel forgets it. So
/// is every transfer on another endpoint: nothing ever happens on the ports of these hubs.
class CUsbipSession
{
public:
    using Watcher = std::function<void(const SETUP_PACKET&, const SimTransferResult&)>;

    /// Device and clock must outlive the session. @param watcher is told of every control transfer
    CUsbipSession(ISimUsbDevice& device, CSimClock& clock, Watcher watcher);

    /// Bytes that the kernel sent, in pieces of any size.
    /// @return false when they are no USB/IP: nothing more can be understood
    bool Receive(const BYTE* pData, size_t cb);

    /// Carries out what waits and answers what is due at this time of the device's clock.
    void Run(CSimClock::Micros now);

    /// When Run has something to do again; nothing: when more bytes have come.
    std::optional<CSimClock::Micros> NextDue() const;

    /// The bytes for the kernel since the last call.
    std::vector<BYTE> TakeOutput();

private:
    struct Transfer
    {
        UsbipRequest request;
        std::vector<BYTE> data;
    };
    struct Current
    {
        std::uint32_t nSequence;
        std::optional<CSimClock::Micros> due; ///< none: never
        std::vector<BYTE> answer;
    };

    void Accept(const UsbipRequest& request, const BYTE* pPayload);
    void Unlink(const UsbipRequest& request);
    bool Forget(std::uint32_t nSequence);
    void Begin(Transfer transfer);
    void Send(const std::vector<BYTE>& bytes);

    ISimUsbDevice& m_device;
    CSimClock& m_clock;
    Watcher m_watcher;
    std::vector<BYTE> m_received;
    std::vector<BYTE> m_output;
    std::deque<Transfer> m_waiting;
    std::optional<Current> m_current;
    std::set<std::uint32_t> m_endless; ///< transfers on other endpoints
};
