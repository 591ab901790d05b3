#pragma once

#include "platform/Types.h"
#include "support/CFakeTransport.h"
#include "support/CMessageLog.h"

#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

using Bytes = std::vector<BYTE>;

/// Bytes of which no two neighbours are equal, and blocks neither.
Bytes Pattern(std::size_t cb);
Bytes Cut(const Bytes& v, std::size_t at, std::size_t cb);

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
};
std::ostream& operator<<(std::ostream& out, const Request& request);

using Requests = std::vector<Request>;

/// An outgoing request that carries data.
Request Sends(BYTE byRequest, USHORT wValue, USHORT wIndex, const Bytes& vSent,
              DWORD dwTimeoutMs = 5000);

/// A transport that writes down every request and answers as it was told.
class CScriptedTransport : public CFakeTransport
{
public:
    Requests m_requests;
    std::vector<DWORD> m_ssTurnedOn;      ///< nodes whose selective suspend was restored
    std::map<std::size_t, DWORD> m_fails; ///< by the request's number, from 0

    /// What an incoming request reads, by request code and (for block reads) command.
    void Answers(BYTE byRequest, const Bytes& vAnswer) { m_answers[{byRequest, 0}] = vAnswer; }
    void AnswersBlock(BYTE byCommand, const Bytes& vAnswer);

    /// Flash that flash reads answer from; index 0 is address 0.
    Bytes m_flash;

    DWORD KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex, BYTE* pBuffer,
                          DWORD dwLength, DWORD dwTimeoutMs) override;
    DWORD KyHub_CtlPipeNoDataOut(BYTE* pSetup) override;
    DWORD KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData) override;
    DWORD KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData) override;
    int KyHub_TurnOnHubSS(DWORD devInst) override;

private:
    DWORD RawSetup(const BYTE* pSetup, BYTE* pData);

    std::map<std::pair<BYTE, BYTE>, Bytes> m_answers;
};

/// The log of a test, with questions about it.
class CReports : public CMessageLog
{
public:
    /// The lines that begin with a text.
    std::vector<std::string> Of(const std::string& strPrefix) const;
    bool Has(const std::string& strLine) const;
};
