#include "dev/Fakes.h"

#include "wire/HubRequests.h"

#include <algorithm>
#include <cstdio>

namespace
{
bool IsIn(BYTE byType)
{
    return (byType & 0x80) != 0;
}
} // namespace

Bytes Pattern(std::size_t cb)
{
    Bytes v(cb);
    for (std::size_t i = 0; i < cb; ++i)
        v[i] = static_cast<BYTE>(i * 7 + i / 256);
    return v;
}

Bytes Cut(const Bytes& v, std::size_t at, std::size_t cb)
{
    const auto from = v.begin() + static_cast<std::ptrdiff_t>(at);
    return {from, from + static_cast<std::ptrdiff_t>(cb)};
}

std::ostream& operator<<(std::ostream& out, const Request& request)
{
    char text[128];
    (void)std::snprintf(text, sizeof(text), "%02x/%02x value %04x index %04x length %u %u ms sent",
                        request.byType, request.byRequest, request.wValue, request.wIndex,
                        static_cast<unsigned>(request.dwLength),
                        static_cast<unsigned>(request.dwTimeoutMs));
    out << text;
    for (std::size_t i = 0; i < std::min<std::size_t>(request.vSent.size(), 16); ++i)
        out << " " << std::to_string(request.vSent[i]);
    return out << "\n";
}

Request Sends(BYTE byRequest, USHORT wValue, USHORT wIndex, const Bytes& vSent, DWORD dwTimeoutMs)
{
    return {REQTYPE_VENDOR_OUT, byRequest, wValue, wIndex, static_cast<DWORD>(vSent.size()),
            dwTimeoutMs,        vSent};
}

void CScriptedTransport::AnswersBlock(BYTE byCommand, const Bytes& vAnswer)
{
    m_answers[{static_cast<BYTE>(REQ_BLOCK_IN), byCommand}] = vAnswer;
}

DWORD CScriptedTransport::KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex,
                                          BYTE* pBuffer, DWORD dwLength, DWORD dwTimeoutMs)
{
    Request request = {byType, byRequest, wValue, wIndex, dwLength, dwTimeoutMs};
    if (!IsIn(byType) && dwLength != 0)
        request.vSent.assign(pBuffer, pBuffer + dwLength);
    const std::size_t nRequest = m_requests.size();
    m_requests.push_back(request);
    if (const auto it = m_fails.find(nRequest); it != m_fails.end())
        return it->second;
    if (!IsIn(byType))
        return 0;
    Bytes vAnswer;
    if (byRequest == REQ_READ_FLASH) {
        const std::size_t at =
            std::min<std::size_t>(wValue | std::size_t{wIndex} << 16, m_flash.size());
        vAnswer.assign(m_flash.begin() + static_cast<std::ptrdiff_t>(at), m_flash.end());
    } else {
        const BYTE byCommand = byRequest == REQ_BLOCK_IN ? static_cast<BYTE>(wValue >> 8) : 0;
        vAnswer = m_answers[{byRequest, byCommand}];
    }
    std::copy_n(vAnswer.begin(), std::min<std::size_t>(vAnswer.size(), dwLength), pBuffer);
    return 0;
}

DWORD CScriptedTransport::RawSetup(const BYTE* pSetup, BYTE* pData)
{
    return KyHub_SendVDCmd(pSetup[0], pSetup[1], static_cast<USHORT>(pSetup[2] | pSetup[3] << 8),
                           static_cast<USHORT>(pSetup[4] | pSetup[5] << 8), pData,
                           static_cast<DWORD>(pSetup[6] | pSetup[7] << 8), 0);
}

DWORD CScriptedTransport::KyHub_CtlPipeNoDataOut(BYTE* pSetup)
{
    return RawSetup(pSetup, nullptr);
}

DWORD CScriptedTransport::KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData)
{
    return RawSetup(pSetup, pData);
}

DWORD CScriptedTransport::KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData)
{
    return RawSetup(pSetup, pData);
}

int CScriptedTransport::KyHub_TurnOnHubSS(DWORD devInst)
{
    m_ssTurnedOn.push_back(devInst);
    return 0; // devices do not look at it
}

std::vector<std::string> CReports::Of(const std::string& strPrefix) const
{
    std::vector<std::string> found;
    std::copy_if(Lines().begin(), Lines().end(), std::back_inserter(found),
                 [&](const std::string& strLine) { return strLine.rfind(strPrefix, 0) == 0; });
    return found;
}

bool CReports::Has(const std::string& strLine) const
{
    return std::find(Lines().begin(), Lines().end(), strLine) != Lines().end();
}
