#pragma once

#include "platform/Types.h"
#include "support/CFakeTransport.h"
#include "support/CMessageLog.h"
#include "wire/HubRequests.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

using Bytes = std::vector<BYTE>;

/// Bytes of which no two neighbours are equal, and blocks neither.
inline Bytes Pattern(std::size_t cb)
{
    Bytes v(cb);
    for (std::size_t i = 0; i < cb; ++i)
        v[i] = static_cast<BYTE>(i * 7 + i / 256);
    return v;
}

inline Bytes Cut(const Bytes& v, std::size_t at, std::size_t cb)
{
    const auto from = v.begin() + static_cast<std::ptrdiff_t>(at);
    return {from, from + static_cast<std::ptrdiff_t>(cb)};
}

/// One request as it reached the transport. Raw setup packets have no time-out of their own.
struct Request
{
    BYTE byType;
    BYTE byRequest;
    USHORT wValue;
    USHORT wIndex;
    DWORD dwLength = 0;
    DWORD dwTimeoutMs = 5000;
    Bytes vSent = {}; ///< what an outgoing request carried

    bool operator==(const Request&) const = default;

    friend std::ostream& operator<<(std::ostream& out, const Request& r)
    {
        out << std::hex << +r.byType << "/" << +r.byRequest << " value " << r.wValue << " index "
            << r.wIndex << std::dec << " length " << r.dwLength << " " << r.dwTimeoutMs
            << " ms sent";
        for (std::size_t i = 0; i < std::min<std::size_t>(r.vSent.size(), 16); ++i)
            out << " " << +r.vSent[i];
        return out << "\n";
    }
};

using Requests = std::vector<Request>;

/// An outgoing request that carries data.
inline Request Sends(BYTE byRequest, USHORT wValue, USHORT wIndex, const Bytes& vSent,
                     DWORD dwTimeoutMs = 5000)
{
    return {REQTYPE_VENDOR_OUT, byRequest, wValue, wIndex, static_cast<DWORD>(vSent.size()),
            dwTimeoutMs,        vSent};
}

/// A transport that writes down every request and answers as it was told.
class CScriptedTransport : public CFakeTransport
{
public:
    Requests m_requests;
    std::vector<DWORD> m_ssTurnedOn;      ///< nodes whose selective suspend was restored
    std::map<std::size_t, DWORD> m_fails; ///< by the request's number, from 0

    /// What an incoming request reads, by request code and (for block reads) command.
    void Answers(BYTE byRequest, const Bytes& vAnswer) { m_answers[{byRequest, 0}] = vAnswer; }
    void AnswersBlock(BYTE byCommand, const Bytes& v) { m_answers[{REQ_BLOCK_IN, byCommand}] = v; }

    /// Flash that flash reads answer from; index 0 is address 0.
    Bytes m_flash;

    DWORD KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex, BYTE* pBuffer,
                          DWORD dwLength, DWORD dwTimeoutMs) override
    {
        const bool bIn = (byType & 0x80) != 0;
        Request request = {byType, byRequest, wValue, wIndex, dwLength, dwTimeoutMs};
        if (!bIn && dwLength != 0)
            request.vSent.assign(pBuffer, pBuffer + dwLength);
        m_requests.push_back(request);
        if (const auto it = m_fails.find(m_requests.size() - 1); it != m_fails.end())
            return it->second;
        if (!bIn)
            return 0;
        const int nCommand = byRequest == REQ_BLOCK_IN ? wValue >> 8 : 0;
        Bytes vAnswer = m_answers[{byRequest, nCommand}];
        if (byRequest == REQ_READ_FLASH) {
            const std::size_t at = wValue | std::size_t{wIndex} << 16;
            vAnswer = Cut(m_flash, std::min(at, m_flash.size()),
                          m_flash.size() - std::min(at, m_flash.size()));
        }
        std::copy_n(vAnswer.begin(), std::min<std::size_t>(vAnswer.size(), dwLength), pBuffer);
        return 0;
    }
    DWORD KyHub_CtlPipeNoDataOut(BYTE* pSetup) override { return RawSetup(pSetup, nullptr); }
    DWORD KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData) override { return RawSetup(pSetup, pData); }
    DWORD KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData) override { return RawSetup(pSetup, pData); }
    int KyHub_TurnOnHubSS(DWORD devInst) override
    {
        m_ssTurnedOn.push_back(devInst);
        return 0; // devices do not look at it
    }

private:
    DWORD RawSetup(const BYTE* p, BYTE* pData)
    {
        const auto word = [p](int at) { return static_cast<USHORT>(p[at] | p[at + 1] << 8); };
        return KyHub_SendVDCmd(p[0], p[1], word(2), word(4), pData, word(6), 0);
    }

    std::map<std::pair<int, int>, Bytes> m_answers;
};

/// The log of a test, with questions about it.
class CReports : public CMessageLog
{
public:
    /// The lines that begin with a text.
    std::vector<std::string> Of(const std::string& strPrefix) const
    {
        std::vector<std::string> found = Lines();
        std::erase_if(found, [&](const auto& strLine) { return !strLine.starts_with(strPrefix); });
        return found;
    }
    bool Has(const std::string& strLine) const
    {
        return std::find(Lines().begin(), Lines().end(), strLine) != Lines().end();
    }
};
