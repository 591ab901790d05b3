#pragma once

#include "platform/Types.h"

/// The WMI conversation that switches a device's power saving. Every operation is one COM call
/// and returns its HRESULT (0 = S_OK); objects are handles that Release gives back.
class IPowerSwitch
{
public:
    virtual ~IPowerSwitch() = default;

    virtual LONG InitializeCom(DWORD dwApartment) = 0; ///< 2 = single-threaded apartment
    virtual void UninitializeCom() = 0;

    /// @param nServices -1 = the system chooses
    virtual LONG InitializeSecurity(int nServices, DWORD dwAuthLevel, DWORD dwImpLevel,
                                    DWORD dwCapabilities) = 0;

    virtual LONG CreateLocator(HANDLE* phLocator) = 0;
    virtual LONG ConnectServer(HANDLE hLocator, const WCHAR* pszNamespace, HANDLE* phServices) = 0;
    virtual LONG SetProxyBlanket(HANDLE hServices, DWORD dwAuthn, DWORD dwAuthz, DWORD dwAuthLevel,
                                 DWORD dwImpLevel, DWORD dwCapabilities) = 0;

    /// @param dwFlags 0x30 = forward only, return immediately
    virtual LONG ExecQuery(HANDLE hServices, const WCHAR* pszLanguage, const WCHAR* pszQuery,
                           DWORD dwFlags, HANDLE* phEnumerator) = 0;

    /// Fetches one object; at the end *pdwReturned is 0 and the result is S_FALSE (1).
    virtual LONG Next(HANDLE hEnumerator, LONG lTimeoutMs, HANDLE* phObject,
                      DWORD* pdwReturned) = 0;

    virtual LONG GetText(HANDLE hObject, const WCHAR* pszName, WString* pText) = 0;

    /// A boolean property widened to 32 bits: 0xFFFFFFFF is true, 0 false.
    virtual LONG GetSwitch(HANDLE hObject, const WCHAR* pszName, DWORD* pdwValue) = 0;
    virtual LONG PutSwitch(HANDLE hObject, const WCHAR* pszName, bool bValue) = 0;

    /// Writes an object back. @param dwFlags 1 = update only
    virtual LONG PutInstance(HANDLE hServices, HANDLE hObject, DWORD dwFlags) = 0;

    virtual void Release(HANDLE hObject) = 0;
};
