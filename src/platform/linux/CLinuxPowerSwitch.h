#pragma once

#include <map>
#include <optional>

#include "platform/CLikePattern.h"
#include "platform/IPowerSwitch.h"
#include "platform/linux/CLinuxNodes.h"

/// The power conversation over sysfs: a device's "Enable" is its power/control, where "auto"
/// (the kernel may suspend it) reads as true and "on" as false. Writing a value that stands
/// there already writes nothing.
///
/// A process that may not write sysfs succeeds without writing: it keeps the hub's device file
/// open while it uses the hub, and a device whose file is open is not suspended.
class CLinuxPowerSwitch : public IPowerSwitch
{
public:
    /// @param bMayWrite whether the process may change power/control: root
    CLinuxPowerSwitch(CLinuxNodes& nodes, bool bMayWrite) : m_nodes(nodes), m_bMayWrite(bMayWrite)
    {}

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
    enum class Kind
    {
        Locator,
        Services,
        Enumerator,
        PowerObject
    };
    struct Item
    {
        Kind eKind = Kind::Locator;
        std::vector<LinuxNodePtr> nodes; ///< an enumerator's, not yet handed out; an object's one
        std::optional<bool> put;         ///< an object's value that is not written back yet
    };

    HANDLE Add(Item item);
    Item* Find(HANDLE h, Kind eKind);
    std::vector<LinuxNodePtr> Matching(const CLikePattern& pattern) const;
    std::optional<std::string> ReadControl(const LINUX_NODE& node) const;

    CLinuxNodes& m_nodes;
    bool m_bMayWrite;
    int m_nApartments = 0;
    std::map<HANDLE, Item> m_items;
    uintptr_t m_nLastItem = 0;
};
