#pragma once

#include "platform/IPowerSwitch.h"

/// The WMI conversation over COM. Handles are the COM objects themselves.
class CWinPowerSwitch : public IPowerSwitch
{
public:
    LONG InitializeCom(DWORD dwApartment) override;
    void UninitializeCom() override;
    LONG InitializeSecurity(int nServices, DWORD dwAuthLevel, DWORD dwImpLevel,
                            DWORD dwCapabilities) override;
    LONG CreateLocator(HANDLE* phLocator) override;
    LONG ConnectServer(HANDLE hLocator, const WCHAR* pszNamespace, HANDLE* phServices) override;
    LONG SetProxyBlanket(HANDLE hServices, DWORD dwAuthn, DWORD dwAuthz, DWORD dwAuthLevel,
                         DWORD dwImpLevel, DWORD dwCapabilities) override;
    LONG ExecQuery(HANDLE hServices, const WCHAR* pszLanguage, const WCHAR* pszQuery, DWORD dwFlags,
                   HANDLE* phEnumerator) override;
    LONG Next(HANDLE hEnumerator, LONG lTimeoutMs, HANDLE* phObject, DWORD* pdwReturned) override;
    LONG GetText(HANDLE hObject, const WCHAR* pszName, WString* pText) override;
    LONG GetSwitch(HANDLE hObject, const WCHAR* pszName, DWORD* pdwValue) override;
    LONG PutSwitch(HANDLE hObject, const WCHAR* pszName, bool bValue) override;
    LONG PutInstance(HANDLE hServices, HANDLE hObject, DWORD dwFlags) override;
    void Release(HANDLE hObject) override;
};
