#include "tools/zelhub/context/CToolResponder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{

/// How a transfer or an access to memory or ports that failed is reported; what the operation
/// returns may look like success all the same.
constexpr const char* kTransferFailed[] = {
    "IOCTL_KYPROXY_SEND_URB failed", "IOCTL_KYPROXY_WRITE_MEMORY_UCHAR failed",
    "DeviceIoControl() FAILED", "DeviceIoControl() OK! ==> dwReturnedLength"};

/// How other failures are reported.
constexpr const char* kFailed[] = {"fail", "Fail,", "Fail.", "Fail with", "Send FAIL", "FAILED"};

bool HoldsOneOf(const char* pszText, const auto& marks)
{
    return std::any_of(std::begin(marks), std::end(marks), [&](const char* pszMark) {
        return std::strstr(pszText, pszMark) != nullptr;
    });
}

/// "[stamp]  In func, text\n" without stamp and line end.
std::string Body(const char* pszText)
{
    std::string strText = pszText;
    const size_t n = strText.find("]  In ");
    if (n != std::string::npos)
        strText.erase(0, n + std::strlen("]  In "));
    while (!strText.empty() && (strText.back() == '\n' || strText.back() == '\r'))
        strText.pop_back();
    return strText;
}

} // namespace

CToolResponder::CToolResponder(CToolContext& context) : m_context(context)
{
    const std::string& strLog = context.Opts().strLog;
    if (strLog.empty())
        return;
    m_pLog = std::fopen(strLog.c_str(), "ab");
    if (m_pLog == nullptr)
        throw CToolError(ExitCode::General,
                         "log " + Printable(strLog) + ": cannot be opened: " + std::strerror(errno),
                         "Give --log a file that you may write to.");
}

CToolResponder::~CToolResponder()
{
    if (m_pLog != nullptr)
        (void)std::fclose(m_pLog);
}

void CToolResponder::ForgetFailure()
{
    m_strLastFailure.clear();
    m_strFirstFailure.clear();
}

void CToolResponder::ShowMsg(const char* pszText, ERRORLEVEL eLevel)
{
    const bool bTransfer = HoldsOneOf(pszText, kTransferFailed);
    if (bTransfer)
        ++m_nFailedTransfers;
    if (bTransfer || HoldsOneOf(pszText, kFailed)) {
        m_strLastFailure = Printable(Body(pszText));
        if (m_strFirstFailure.empty())
            m_strFirstFailure = m_strLastFailure;
    }
    if (m_line)
        m_line(Body(pszText));
    if (eLevel < m_eLevel)
        return;
    if (m_pLog != nullptr) {
        (void)std::fputs(pszText, m_pLog);
        (void)std::fflush(m_pLog); // a log that a crash cannot take away
    }
    if (m_context.Opts().bVerbose) {
        m_context.Progress().Clear();
        m_context.Out().Detail(Printable(Body(pszText)));
    }
}

void CToolResponder::ShowUIMsg(const char* /*pszText*/, RESTYPE /*eType*/)
{
    // The same news come as progress and as results of the tool's own.
}

void CToolResponder::CountDown(const char* /*pszTitle*/, int nSeconds, ERRORLEVEL /*eLevel*/)
{
    m_context.Progress().Wait(nSeconds);
}

void CToolResponder::ShowProgress(int nPercent)
{
    if (m_progress)
        m_progress(nPercent);
}
