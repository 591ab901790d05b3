#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "transport/IPropertyEx.h"

/// A transport that writes down every call and answers as a test says.
class CFakeTransport : public IPropertyEx
{
public:
    std::vector<std::string> calls;

    /// The result of a call, by the text that was written down; 0 where it is not set.
    std::function<DWORD(const std::string&)> answer;

    /// What the open hands out as the saved selective-suspend value, unless it is left alone.
    std::function<void(DWORD&)> savedValue;

    DWORD KyHub_OpenDeviceByDevInst(DWORD devInst, DWORD& dwOldSSValue) override
    {
        const DWORD dwStatus = Note("open2 %u ss=%x", devInst, dwOldSSValue);
        if (savedValue)
            savedValue(dwOldSSValue);
        return dwStatus;
    }
    DWORD KyHub_OpenDeviceByDevInst(DWORD devInst) override { return Note("open %u", devInst); }
    DWORD KyHub_CloseDevice() override { return Note("close"); }
    int InitProxyDriver() override { return Int(Note("init")); }
    int XH_UnInitProxyDriver() override { return Int(Note("uninit")); }

    DWORD KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex, BYTE* pBuffer,
                          DWORD dwLength, DWORD dwTimeoutMs) override
    {
        lastBuffer = pBuffer;
        return Note("vd %02X/%02X v=%04X i=%04X len=%u t=%u", byType, byRequest, wValue, wIndex,
                    dwLength, dwTimeoutMs);
    }
    DWORD KyHub_WritePortUCHAR(DWORD dwAddr, BYTE byValue) override
    {
        return Note("out %X=%02X", dwAddr, byValue);
    }
    DWORD KyHub_ReadPortUCHAR(DWORD dwAddr, BYTE* pbyValue) override
    {
        const DWORD dwStatus = Note("in %X", dwAddr);
        if (readPort)
            readPort(dwAddr, *pbyValue);
        return dwStatus;
    }
    DWORD KyHub_WriteMemoryUCHAR(DWORD dwAddr, BYTE* pData, DWORD dwLength) override
    {
        lastBuffer = pData;
        return Note("writemem %X len=%u", dwAddr, dwLength);
    }
    DWORD KyHub_ReadMemoryUCHAR(DWORD dwAddr, BYTE* pData, DWORD dwLength) override
    {
        lastBuffer = pData;
        return Note("readmem %X len=%u", dwAddr, dwLength);
    }
    DWORD KyHub_CtlPipeNoDataOut(BYTE* pSetup) override { return Note("ctl %02X", pSetup[1]); }
    DWORD KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData) override
    {
        lastBuffer = pData;
        return Note("ctlout %02X", pSetup[1]);
    }
    DWORD KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData) override
    {
        lastBuffer = pData;
        return Note("ctlin %02X", pSetup[1]);
    }
    DWORD KyHub_Speed(_myUSB_DEVICE_SPEED* pSpeed) override
    {
        *pSpeed = MY_USB_SPEED_UNKNOWN;
        return Note("speed");
    }
    int KyHub_IsVoHub(DWORD devInst, int nAcceptSmBus) override
    {
        return Int(Note("isvohub %u %d", devInst, nAcceptSmBus));
    }
    DWORD KyHub_OpenHidDeviceByDevInst(DWORD devInst) override
    {
        return Note("openhid %u", devInst);
    }
    void KyHub_Free(_KYHUB_INST** ppInstance) override
    {
        (void)Note("free");
        *ppInstance = nullptr;
    }
    int KyHid_IsITEHid(DWORD devInst) override { return Int(Note("ishid %u", devInst)); }
    DWORD HidGetDevInstInterfaceHandle(DWORD devInst, const GUID* pGuid,
                                       HANDLE* phInterface) override
    {
        *phInterface = InvalidHandle();
        return Note("hidhandle %u %X", devInst, pGuid->Data1);
    }
    int KyHub_TurnOnHubSS(DWORD devInst) override { return Int(Note("turnon %u", devInst)); }

    /// Fills what a port read brings; a read that it leaves alone leaves the caller's value.
    std::function<void(DWORD, BYTE&)> readPort;
    BYTE* lastBuffer = nullptr;

private:
    static int Int(DWORD dw) { return static_cast<int>(dw); }

    template<class... Args>
    DWORD Note(const char* pszFormat, Args... args)
    {
        char szCall[128];
        if constexpr (sizeof...(args) == 0)
            std::snprintf(szCall, sizeof szCall, "%s", pszFormat);
        else
            std::snprintf(szCall, sizeof szCall, pszFormat, args...);
        calls.emplace_back(szCall);
        return answer ? answer(szCall) : 0;
    }
};
