#include "tools/zelhub/devices/TransportAccess.h"

#include "cmd/CRequestCMD.h"

namespace
{

void Check(CHubSession& session, bool bDone, const std::string& strWhat)
{
    if (bDone)
        return;
    const std::string& strWhy = session.Responder().LastFailure();
    throw CToolError(ExitCode::NoAccess,
                     strWhat + " could not be accessed" + (strWhy.empty() ? "" : ": " + strWhy),
                     "Run as administrator or root; what the driver refuses cannot be had.");
}

} // namespace

BYTE TransportAccess::ReadPort(CHubSession& session, DWORD dwPort)
{
    session.Responder().ForgetFailure();
    std::vector<BYTE> byte(1);
    const bool bRead = HubReads::Checked(byte, [dwPort](std::vector<BYTE>& b) {
        return CRequestCMD::GetRequestObj()->KyHub_ReadPortUCHAR(dwPort, b[0]) == 0;
    });
    Check(session, bRead, "port " + Hex(dwPort, 4));
    return byte[0];
}

void TransportAccess::WritePort(CHubSession& session, DWORD dwPort, BYTE byValue)
{
    session.Responder().ForgetFailure();
    const DWORD dwRes = CRequestCMD::GetRequestObj()->KyHub_WritePortUCHAR(dwPort, byValue);
    Check(session, dwRes == 0, "port " + Hex(dwPort, 4));
}

std::vector<BYTE> TransportAccess::ReadMemory(CHubSession& session, DWORD dwAddress, DWORD cb)
{
    session.Responder().ForgetFailure();
    IPropertyEx* const pTransport = CRequestCMD::GetRequestObj()->GetProxy()->GetTransport();
    std::vector<BYTE> bytes(cb);
    const bool bRead = HubReads::Checked(bytes, [=](std::vector<BYTE>& b) {
        return pTransport->KyHub_ReadMemoryUCHAR(dwAddress, b.data(), cb) == 0;
    });
    Check(session, bRead, "memory at " + Hex(dwAddress, 8));
    return bytes;
}

void TransportAccess::WriteMemory(CHubSession& session, DWORD dwAddress, std::vector<BYTE> bytes)
{
    session.Responder().ForgetFailure();
    const DWORD dwRes = CRequestCMD::GetRequestObj()->KyHub_WriteMemoryUCHAR(
        dwAddress, bytes.data(), static_cast<DWORD>(bytes.size()));
    Check(session, dwRes == 0, "memory at " + Hex(dwAddress, 8));
}
