#pragma once

#include "platform/IPowerSwitch.h"

#include <string>
#include <vector>

class CSimMachine;

/// The WMI conversation over the nodes' power objects (CSimNode::PowerObjects). The query's LIKE
/// pattern is really matched; conversations out of order, or without elevation, fail as the
/// system would.
class CSimPowerSwitch : public IPowerSwitch
{
public:
    explicit CSimPowerSwitch(CSimMachine& machine) : m_machine(machine) {}

    /// Initialisations not taken back yet; each is also an open handle, "com apartment".
    int ComDepth() const { return static_cast<int>(m_apartments.size()); }

    /// The queries so far, narrowed.
    const std::vector<std::string>& Queries() const { return m_queries; }

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

private:
    CSimMachine& m_machine;
    std::vector<HANDLE> m_apartments;
    bool m_bSecurity = false;
    std::vector<std::string> m_queries;
};
