#include "platform/windows/CWinPowerSwitch.h"

// clang-format off
#include <windows.h>
#include <objbase.h>
#include <wbemidl.h>
// clang-format on

namespace
{
/// A BSTR for the length of a call.
class CText
{
public:
    explicit CText(const WCHAR* psz) : m_bstr(::SysAllocString(psz)) {}
    CText(const CText&) = delete;
    CText& operator=(const CText&) = delete;
    ~CText() { ::SysFreeString(m_bstr); }
    BSTR Get() const { return m_bstr; }

private:
    BSTR m_bstr;
};

IWbemServices* Services(HANDLE h)
{
    return static_cast<IWbemServices*>(h);
}

IWbemClassObject* Object(HANDLE h)
{
    return static_cast<IWbemClassObject*>(h);
}
} // namespace

LONG CWinPowerSwitch::InitializeCom(DWORD dwApartment)
{
    return ::CoInitializeEx(nullptr, dwApartment);
}

void CWinPowerSwitch::UninitializeCom()
{
    ::CoUninitialize();
}

LONG CWinPowerSwitch::InitializeSecurity(int nServices, DWORD dwAuthLevel, DWORD dwImpLevel,
                                         DWORD dwCapabilities)
{
    return ::CoInitializeSecurity(nullptr, nServices, nullptr, nullptr, dwAuthLevel, dwImpLevel,
                                  nullptr, dwCapabilities, nullptr);
}

LONG CWinPowerSwitch::CreateLocator(HANDLE* phLocator)
{
    return ::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                              phLocator);
}

LONG CWinPowerSwitch::ConnectServer(HANDLE hLocator, const WCHAR* pszNamespace, HANDLE* phServices)
{
    const CText strNamespace(pszNamespace);
    IWbemServices* pServices = nullptr;
    const HRESULT hr = static_cast<IWbemLocator*>(hLocator)->ConnectServer(
        strNamespace.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, &pServices);
    *phServices = pServices;
    return hr;
}

LONG CWinPowerSwitch::SetProxyBlanket(HANDLE hServices, DWORD dwAuthn, DWORD dwAuthz,
                                      DWORD dwAuthLevel, DWORD dwImpLevel, DWORD dwCapabilities)
{
    return ::CoSetProxyBlanket(Services(hServices), dwAuthn, dwAuthz, nullptr, dwAuthLevel,
                               dwImpLevel, nullptr, dwCapabilities);
}

LONG CWinPowerSwitch::ExecQuery(HANDLE hServices, const WCHAR* pszLanguage, const WCHAR* pszQuery,
                                DWORD dwFlags, HANDLE* phEnumerator)
{
    const CText strLanguage(pszLanguage);
    const CText strQuery(pszQuery);
    IEnumWbemClassObject* pEnumerator = nullptr;
    const HRESULT hr = Services(hServices)->ExecQuery(
        strLanguage.Get(), strQuery.Get(), static_cast<LONG>(dwFlags), nullptr, &pEnumerator);
    *phEnumerator = pEnumerator;
    return hr;
}

LONG CWinPowerSwitch::Next(HANDLE hEnumerator, LONG lTimeoutMs, HANDLE* phObject,
                           DWORD* pdwReturned)
{
    IWbemClassObject* pObject = nullptr;
    const HRESULT hr =
        static_cast<IEnumWbemClassObject*>(hEnumerator)->Next(lTimeoutMs, 1, &pObject, pdwReturned);
    *phObject = pObject;
    return hr;
}

LONG CWinPowerSwitch::GetText(HANDLE hObject, const WCHAR* pszName, WString* pText)
{
    VARIANT value;
    ::VariantInit(&value);
    const HRESULT hr = Object(hObject)->Get(pszName, 0, &value, nullptr, nullptr);
    if (SUCCEEDED(hr) && value.vt == VT_BSTR && value.bstrVal != nullptr)
        *pText = value.bstrVal;
    ::VariantClear(&value);
    return hr;
}

LONG CWinPowerSwitch::GetSwitch(HANDLE hObject, const WCHAR* pszName, DWORD* pdwValue)
{
    VARIANT value;
    ::VariantInit(&value);
    const HRESULT hr = Object(hObject)->Get(pszName, 0, &value, nullptr, nullptr);
    if (SUCCEEDED(hr))
        *pdwValue = value.boolVal != VARIANT_FALSE ? 0xFFFFFFFF : 0;
    ::VariantClear(&value);
    return hr;
}

LONG CWinPowerSwitch::PutSwitch(HANDLE hObject, const WCHAR* pszName, bool bValue)
{
    VARIANT value;
    ::VariantInit(&value);
    value.vt = VT_BOOL;
    value.boolVal = bValue ? VARIANT_TRUE : VARIANT_FALSE;
    return Object(hObject)->Put(pszName, 0, &value, 0);
}

LONG CWinPowerSwitch::PutInstance(HANDLE hServices, HANDLE hObject, DWORD dwFlags)
{
    return Services(hServices)->PutInstance(Object(hObject), static_cast<LONG>(dwFlags), nullptr,
                                            nullptr);
}

void CWinPowerSwitch::Release(HANDLE hObject)
{
    static_cast<IUnknown*>(hObject)->Release();
}
