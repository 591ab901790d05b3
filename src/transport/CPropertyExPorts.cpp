// Port and memory access through the proxy driver.
#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/IDeviceFile.h"
#include "platform/Platform.h"
#include "transport/CPropertyEx.h"
#include "transport/CScopedHandle.h"
#include "transport/LastTransportError.h"
#include "transport/ProxyLayout.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
PROXY_PORT_REQUEST BuildPortRequest(int nWow64, DWORD dwAddr, BYTE byValue)
{
    return BuildInLayout(nWow64, [&](auto layout) {
        typename decltype(layout)::PortRequest request = {};
        request.address = dwAddr;
        request.value = byValue;
        return request;
    });
}

PROXY_MEMORY_REQUEST BuildMemoryRequest(int nWow64, DWORD dwAddr, DWORD dwLength)
{
    return BuildInLayout(nWow64, [&](auto layout) {
        typename decltype(layout)::MemoryRequest request = {};
        request.address = dwAddr;
        request.length = dwLength;
        return request;
    });
}

struct BUFFER
{
    void* p;
    DWORD cb;
};

/// @return 0, or the failure's code, which is then the last transport error too
DWORD SendRequest(HANDLE hDriver, DWORD dwCode, const void* pIn, DWORD cbIn, BUFFER out)
{
    DWORD cbDone = 0;
    if (CurrentPlatform().DeviceFile().Control(hDriver, dwCode, pIn, cbIn, out.p, out.cb, &cbDone))
        return 0;
    const DWORD dwError = SystemError();
    SetLastTransportError(dwError);
    return dwError;
}

/// What the failure lines show of a buffer.
BYTE FirstByte(const BYTE* pData, DWORD dwLength)
{
    return dwLength != 0 ? *pData : BYTE{0};
}

bool IsUsable(const BYTE* pData, DWORD dwLength)
{
    return (pData != nullptr || dwLength == 0) && dwLength <= 0xFFFFFFFFu - PROXY_MEMORY_OVERHEAD;
}
} // namespace

DWORD CPropertyEx::KyHub_WritePortUCHAR(DWORD dwAddr, BYTE byValue)
{
    const char* const pszMe = "CPropertyEx::KyHub_WritePortUCHAR";
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_FAIL, pszMe, "KyHub_WritePortUCHAR dwAddr=%#x, val=%#x\n", dwAddr, byValue);

    const PROXY_PORT_REQUEST request = BuildPortRequest(m_nWow64, dwAddr, byValue);
    const DWORD dwError = SendRequest(hProxyDriver, IOCTL_KYPROXY_WRITE_PORT_UCHAR, &request,
                                      sizeof(request), {nullptr, 0});
    if (dwError != 0) {
        // Deliberate: the line names another request, as readers of logs know it.
        pMsg->ShowMsg(MSG_FAIL, pszMe, "IOCTL_KYPROXY_SEND_URB failed %d\n", dwError);
        pMsg->ShowMsg(MSG_FAIL, pszMe, "KyHub_WritePortUCHAR dwAddr=%#x, val=%#x FAILED with %#x\n",
                      dwAddr, byValue, dwError);
        return dwError;
    }
    pMsg->ShowMsg(MSG_INFO, pszMe, "KyHub_WritePortUCHAR return Success\n");
    return 0;
}

DWORD CPropertyEx::KyHub_ReadPortUCHAR(DWORD dwAddr, BYTE* pbyValue)
{
    const char* const pszMe = "CPropertyEx::KyHub_ReadPortUCHAR";
    if (pbyValue == nullptr)
        return kErrInvalidParameter;
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_FAIL, pszMe, "KyHub_ReadPortUCHAR dwAddr=%#x, val=%#x\n", dwAddr, *pbyValue);

    const PROXY_PORT_REQUEST request = BuildPortRequest(m_nWow64, dwAddr, 0);
    const DWORD dwError = SendRequest(hProxyDriver, IOCTL_KYPROXY_READ_PORT_UCHAR, &request,
                                      sizeof(request), {pbyValue, 1});
    if (dwError != 0) {
        // Deliberate: the line names another request, as readers of logs know it.
        pMsg->ShowMsg(MSG_FAIL, pszMe, "IOCTL_KYPROXY_SEND_URB failed %d\n", dwError);
        pMsg->ShowMsg(MSG_FAIL, pszMe, "KyHub_ReadPortUCHAR dwAddr=%#x FAILED with %#x\n", dwAddr,
                      dwError);
    }
    return dwError;
}

DWORD CPropertyEx::KyHub_WriteMemoryUCHAR(DWORD dwAddr, BYTE* pData, DWORD dwLength)
{
    const char* const pszMe = "CPropertyEx::KyHub_WriteMemoryUCHAR";
    if (!IsUsable(pData, dwLength))
        return kErrInvalidParameter;
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_FAIL, pszMe, "KyHub_WriteMemoryUCHAR Addr %#x, Len %#x\n", dwAddr, dwLength);

    const PROXY_MEMORY_REQUEST head = BuildMemoryRequest(m_nWow64, dwAddr, dwLength);
    std::vector<BYTE> request(size_t{dwLength} + PROXY_MEMORY_OVERHEAD);
    std::memcpy(request.data(), &head, PROXY_MEMORY_DATA_OFFSET);
    std::copy_n(pData, dwLength, request.begin() + PROXY_MEMORY_DATA_OFFSET);
    const DWORD dwError =
        SendRequest(hProxyDriver, IOCTL_KYPROXY_WRITE_MEMORY_UCHAR, request.data(),
                    static_cast<DWORD>(request.size()), {nullptr, 0});
    if (dwError != 0) {
        pMsg->ShowMsg(MSG_FAIL, pszMe, "IOCTL_KYPROXY_WRITE_MEMORY_UCHAR failed %d\n", dwError);
        pMsg->ShowMsg(MSG_FAIL, pszMe,
                      "KyHub_WriteMemoryUCHAR dwAddr=%#x, val=%#x FAILED with %#x\n", dwAddr,
                      FirstByte(pData, dwLength), dwError);
    }
    return dwError;
}

DWORD CPropertyEx::KyHub_ReadMemoryUCHAR(DWORD dwAddr, BYTE* pData, DWORD dwLength)
{
    const char* const pszMe = "CPropertyEx::KyHub_ReadMemoryUCHAR";
    if (!IsUsable(pData, dwLength))
        return kErrInvalidParameter;
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_FAIL, pszMe, "KyHub_ReadMemoryUCHAR Addr %#x, Len %#x\n", dwAddr, dwLength);

    const PROXY_MEMORY_REQUEST request = BuildMemoryRequest(m_nWow64, dwAddr, dwLength);
    const DWORD dwError = SendRequest(hProxyDriver, IOCTL_KYPROXY_READ_MEMORY_UCHAR, &request,
                                      sizeof(request), {pData, dwLength});
    if (dwError != 0) {
        // Deliberate: both lines speak of a write, as readers of logs know them.
        pMsg->ShowMsg(MSG_FAIL, pszMe, "IOCTL_KYPROXY_WRITE_MEMORY_UCHAR failed %d\n", dwError);
        pMsg->ShowMsg(MSG_FAIL, pszMe,
                      "KyHub_WriteMemoryUCHAR dwAddr=%#x, val=%#x FAILED with %#x\n", dwAddr,
                      FirstByte(pData, dwLength), dwError);
        return dwError;
    }
    pMsg->ShowMsg(MSG_INFO, pszMe, "KyHub_ReadMemoryUCHAR dwAddr=%#x, return:\n", dwAddr);
    return 0;
}
