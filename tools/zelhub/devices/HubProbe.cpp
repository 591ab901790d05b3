#include "tools/zelhub/devices/HubProbe.h"

#include "cmd/CRequestCMD.h"
#include "find/CDevProperty.h"
#include "platform/ErrorCodes.h"
#include "tools/zelhub/devices/HubReads.h"
#include "tools/zelhub/devices/NodesOnBus.h"

#include <cstdlib>

namespace
{

constexpr DWORD kWasSuspending = 0xFFFFFFFF; ///< the old power value that asks for restoring

/// Opens a hub for as long as it lives.
class COpenHub
{
public:
    explicit COpenHub(DWORD dwInstance) : m_dwInstance(dwInstance)
    {
        m_bOpen = CRequestCMD::GetRequestObj()->XH_OpenDevice(dwInstance, m_dwOldPower) == 1;
    }
    COpenHub(const COpenHub&) = delete;
    COpenHub& operator=(const COpenHub&) = delete;
    ~COpenHub()
    {
        if (m_bOpen)
            (void)CRequestCMD::GetRequestObj()->XH_CloseDevice();
        if (m_dwOldPower == kWasSuspending)
            (void)CRequestCMD::GetRequestObj()->KyHub_TurnOnHubSS(m_dwInstance);
    }

    bool IsOpen() const { return m_bOpen; }

private:
    DWORD m_dwInstance;
    DWORD m_dwOldPower = 0;
    bool m_bOpen = false;
};

/// What the library says while it asks a hub for its name; its answer is only yes or no.
class CIdentityReport
{
public:
    explicit CIdentityReport(CToolResponder& responder) : m_responder(responder)
    {
        m_responder.OnLine([this](const std::string& strLine) { Take(strLine); });
    }
    CIdentityReport(const CIdentityReport&) = delete;
    CIdentityReport& operator=(const CIdentityReport&) = delete;
    ~CIdentityReport() { m_responder.OnLine(nullptr); }

    bool Answered() const { return m_bAnswered; }
    DWORD OpenError() const { return m_dwOpenError; }         ///< 0: it could be opened
    DWORD TransferError() const { return m_dwTransferError; } ///< 0: none failed

private:
    void Take(const std::string& strLine)
    {
        m_bAnswered = m_bAnswered || strLine.find("Dev_String is ") != std::string::npos;
        if (strLine.find("SEND_URB failed ") != std::string::npos)
            m_dwTransferError = CodeIn(strLine);
        else if (strLine.find("Handle fail ") != std::string::npos ||
                 strLine.find("KyProxy_Open failed ") != std::string::npos)
            m_dwOpenError = CodeIn(strLine);
    }

    static DWORD CodeIn(const std::string& strLine)
    {
        const size_t n = strLine.find_first_of("0123456789", strLine.find("fail"));
        return n == std::string::npos
                   ? 0
                   : static_cast<DWORD>(std::strtoul(strLine.c_str() + n, nullptr, 10));
    }

    CToolResponder& m_responder;
    bool m_bAnswered = false;
    DWORD m_dwOpenError = 0;
    DWORD m_dwTransferError = 0;
};

std::string OpenReason(DWORD dwError)
{
    switch (dwError) {
    case kErrAccessDenied:
        return "you may not open it";
    case kErrBusy:
    case kErrSharingViolation:
        return "another program uses it";
    default:
        return "it cannot be opened (error " + std::to_string(dwError) + ")";
    }
}

} // namespace

void HubProbe::Identify(HubRow& row, CToolResponder& responder)
{
    row.strIds = IdsOfNode(row.dwInstance);
    const CIdentityReport report(responder);
    if (CRequestCMD::GetRequestObj()->KyHub_IsVoHub(row.dwInstance, 1) != 0) {
        row.eKind = CDevProperty::GetObj()->IsU3Hub(row.dwInstance) ? HubKind::SuperSpeedHalf
                                                                    : HubKind::Own;
        return;
    }
    const bool bNoSuchString = report.TransferError() == kErrGenFailure; // the hub stalled
    if (report.Answered() || bNoSuchString) {
        row.eKind = HubKind::Foreign;
        return;
    }
    row.bNoRight = report.OpenError() == kErrAccessDenied;
    if (report.OpenError() != 0)
        row.strReason = OpenReason(report.OpenError());
    else if (report.TransferError() == kErrSemTimeout)
        row.strReason = "it does not answer";
    else if (report.TransferError() != 0)
        row.strReason =
            "its name cannot be read (error " + std::to_string(report.TransferError()) + ")";
    else
        row.strReason = "its power saving cannot be switched";
}

void HubProbe::AskOwn(HubRow& row)
{
    const COpenHub hub(row.dwInstance);
    HubReads::Status status = {};
    if (!hub.IsOpen() || !HubReads::ReadStatus(status))
        return;
    row.bStatusKnown = true;
    row.bRunsFlash = HubReads::RunsFlashCode(status);
    row.wVersion = HubReads::RunningVersion(status);
}
