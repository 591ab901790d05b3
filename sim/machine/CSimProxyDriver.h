#pragma once

#include "sim/machine/ISimDriver.h"
#include "sim/models/ISimPortSpace.h"
#include "wire/CProxyDecoder.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// One request as the proxy driver saw it.
struct SimProxyRecord
{
    DWORD dwCode = 0;
    std::vector<BYTE> in;    ///< the I/O control's input
    bool bUrb = false;       ///< the fields down to cbMoved hold
    URB urb = {};            ///< as the caller sent it
    SETUP_PACKET setup = {}; ///< what it asks for
    std::vector<BYTE> data;  ///< data stage: sent, or received
    DWORD dwTimeoutMs = 0;
    DWORD dwUrbStatus = 0;
    DWORD cbMoved = 0;
    ULONGLONG deviceHandle = 0; ///< opened, closed or used
    DWORD dwError = 0;          ///< 0: the I/O control succeeded

    /// "urb 40/02 v=0001 i=0A7C len=0 t=5000 -> ok" and the like.
    std::string Line() const;
};

/// The driver behind "\\.\ZelUpx": takes exactly the requests of wire/ProxyIoctl.h and drives
/// the devices behind opened interface handles. What is not exactly right is refused with 87 and
/// noted in Rejections; an unknown device handle gives 6. Knows no machine: whoever offers an
/// ISimDriverCaller can use it.
class CSimProxyDriver : public ISimDriver
{
public:
    /// Decides about a transfer before the device sees it: n is its number, 1 = the first that
    /// the driver carried. Nothing returned: the device answers.
    using Interceptor =
        std::function<std::optional<SimTransferResult>(const SETUP_PACKET& setup, unsigned n)>;

    /// Both may be null: port or memory requests then fail with 1.
    CSimProxyDriver(ISimPortSpace* pPorts, ISimPortSpace* pMemory);

    DWORD Control(ISimDriverCaller& caller, SimControlRequest& request) override;
    void Unload() override;

    /// Called with the time of transfers that no device sees (faults); us in microseconds.
    void SetTimeHook(std::function<void(ULONGLONG us)> hook) { m_timeHook = std::move(hook); }

    void SetInterceptor(Interceptor interceptor) { m_interceptor = std::move(interceptor); }

    /// The n-th transfer (1 = the first ever) fails the I/O control, its device never sees it.
    /// A time-out (121) takes its time.
    void FailTransfer(unsigned n, DWORD dwError);

    /// The n-th transfer is carried, does nothing and has this URB status.
    void FailTransferWithStatus(unsigned n, DWORD dwUrbStatus);
    void ClearFaults();

    unsigned Transfers() const { return m_nTransfers; } ///< URBs that were understood so far
    size_t OpenDevices() const { return m_devices.size(); }

    /// Refused requests, in words.
    const std::vector<std::string>& Rejections() const { return m_rejections; }

    const std::vector<SimProxyRecord>& Log() const { return m_log; }
    std::vector<std::string> Lines() const; ///< the log's records as lines
    void ClearLog() { m_log.clear(); }
    void KeepLog(bool bKeep) { m_bKeepLog = bKeep; } ///< on at first

private:
    DWORD Dispatch(ISimDriverCaller& caller, SimControlRequest& request, SimProxyRecord& record);
    DWORD OpenDevice(ISimDriverCaller& caller, SimControlRequest& request, SimProxyRecord& record);
    DWORD CloseDevice(SimControlRequest& request, SimProxyRecord& record);
    DWORD SendUrb(ISimDriverCaller& caller, SimControlRequest& request, SimProxyRecord& record);
    DWORD Transfer(ISimUsbDevice& device, const DECODED_URB& decoded, BYTE* pData, URB& urb,
                   SimProxyRecord& record);
    SimTransferResult Carry(ISimUsbDevice& device, const SETUP_PACKET& setup, BYTE* pData,
                            DWORD dwTimeoutMs);
    SimTransferResult Spoil(const SimTransferResult& result, DWORD dwTimeoutMs) const;
    DWORD Port(SimControlRequest& request, bool bWrite);
    DWORD WriteMemory(const SimControlRequest& request);
    DWORD ReadMemory(SimControlRequest& request);
    DWORD Reject(const SimControlRequest& request, const char* pszReason);
    DWORD NoSuchDevice(ULONGLONG deviceHandle);

    ISimPortSpace* m_pPorts;
    ISimPortSpace* m_pMemory;
    std::map<ULONGLONG, std::shared_ptr<ISimUsbDevice>> m_devices;
    ULONGLONG m_nextHandle = 0xD0000001;
    Interceptor m_interceptor;
    std::function<void(ULONGLONG)> m_timeHook;
    std::map<unsigned, SimTransferResult> m_faults;
    unsigned m_nTransfers = 0;
    std::vector<std::string> m_rejections;
    std::vector<SimProxyRecord> m_log;
    bool m_bKeepLog = true;
};
