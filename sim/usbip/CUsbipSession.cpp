#include "sim/usbip/CUsbipSession.h"

#include <algorithm>
#include <utility>

namespace
{

/// Far above what a control transfer can carry.
constexpr std::uint32_t kMostData = 0x100000;

std::int32_t StatusOf(const SimTransferResult& res)
{
    if (res.dwError == kErrGenFailure)
        return kUsbipStall;
    return res.dwError != 0 || res.dwUsbdStatus != 0 ? kUsbipError : kUsbipDone;
}

} // namespace

CUsbipSession::CUsbipSession(ISimUsbDevice& device, CSimClock& clock, Watcher watcher)
    : m_device(device), m_clock(clock), m_watcher(std::move(watcher))
{}

bool CUsbipSession::Receive(const BYTE* pData, size_t cb)
{
    m_received.insert(m_received.end(), pData, pData + cb);
    size_t nDone = 0;
    while (m_received.size() - nDone >= kUsbipHeader) {
        const BYTE* const pHeader = m_received.data() + nDone;
        const std::optional<UsbipRequest> request = ParseUsbipRequest(pHeader);
        if (!request || request->cbData > kMostData)
            return false;
        const size_t cbWhole = kUsbipHeader + request->Payload();
        if (m_received.size() - nDone < cbWhole)
            break;
        Accept(*request, pHeader + kUsbipHeader);
        nDone += cbWhole;
    }
    m_received.erase(m_received.begin(), m_received.begin() + static_cast<std::ptrdiff_t>(nDone));
    return true;
}

void CUsbipSession::Accept(const UsbipRequest& request, const BYTE* pPayload)
{
    if (request.eCommand == UsbipCommand::Unlink) {
        Unlink(request);
        return;
    }
    if (request.nEndpoint != 0) {
        m_endless.insert(request.nSequence);
        return;
    }
    Transfer transfer{request, std::vector<BYTE>(pPayload, pPayload + request.Payload())};
    transfer.data.resize(request.setup.wLength);
    m_waiting.push_back(std::move(transfer));
}

void CUsbipSession::Unlink(const UsbipRequest& request)
{
    const bool bForgotten = Forget(request.nVictim);
    Send(UsbipUnlinkAnswer(request.nSequence, bForgotten ? kUsbipUnlinked : kUsbipDone));
}

bool CUsbipSession::Forget(std::uint32_t nSequence)
{
    if (m_current && m_current->nSequence == nSequence) {
        m_current.reset();
        return true;
    }
    if (m_endless.erase(nSequence) != 0)
        return true;
    return std::erase_if(m_waiting, [nSequence](const Transfer& transfer) {
               return transfer.request.nSequence == nSequence;
           }) != 0;
}

void CUsbipSession::Run(CSimClock::Micros now)
{
    for (;;) {
        if (m_current) {
            if (!m_current->due || *m_current->due > now)
                return;
            Send(m_current->answer);
            m_current.reset();
        }
        if (m_waiting.empty())
            return;
        Transfer transfer = std::move(m_waiting.front());
        m_waiting.pop_front();
        Begin(std::move(transfer));
    }
}

void CUsbipSession::Begin(Transfer transfer)
{
    const UsbipRequest& request = transfer.request;
    // No time-out of its own: whoever waits for the transfer has the kernel take it back.
    constexpr DWORD kNoLimit = 0;
    const SimTransferResult res = m_device.Control(request.setup, transfer.data.data(), kNoLimit);
    m_watcher(request.setup, res);
    m_current = Current{request.nSequence, std::nullopt, {}};
    if (res.dwError == kErrSemTimeout || res.dwError == kErrDeviceGone)
        return;
    m_current->due = m_clock.Now();
    const std::int32_t nStatus = StatusOf(res);
    const DWORD cbMost = std::min<DWORD>(request.cbData, request.setup.wLength);
    const DWORD cbActual = nStatus == kUsbipDone ? std::min(res.cbDone, cbMost) : 0;
    m_current->answer = UsbipSubmitAnswer(request.nSequence, nStatus, cbActual,
                                          request.bIn ? transfer.data.data() : nullptr);
}

std::optional<CSimClock::Micros> CUsbipSession::NextDue() const
{
    return m_current ? m_current->due : std::nullopt;
}

std::vector<BYTE> CUsbipSession::TakeOutput()
{
    return std::exchange(m_output, {});
}

void CUsbipSession::Send(const std::vector<BYTE>& bytes)
{
    m_output.insert(m_output.end(), bytes.begin(), bytes.end());
}
