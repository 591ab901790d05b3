#include "platform/linux/CLinuxPowerSwitch.h"

#include <algorithm>
#include <cerrno>

#include "platform/AsciiCase.h"
#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxError.h"

namespace
{
constexpr LONG Hr(DWORD dwCode)
{
    return static_cast<LONG>(dwCode);
}
constexpr LONG kHrNotInitialised = Hr(0x800401F0);
constexpr LONG kHrBadHandle = Hr(0x80070006);
constexpr LONG kWbemNotFound = Hr(0x80041002);
constexpr LONG kWbemInvalidNamespace = Hr(0x8004100E);
constexpr LONG kWbemInvalidQuery = Hr(0x80041017);
constexpr LONG kWbemInvalidQueryType = Hr(0x80041018);
constexpr DWORD kHrOfSystemError = 0x80070000;

constexpr const char* kControl = "/power/control";
constexpr const char* kAuto = "auto";
constexpr const char* kOn = "on";

bool Names(const WCHAR* pszText, const WCHAR* pszName)
{
    const WString strText = pszText == nullptr ? WString() : WString(pszText);
    const WString strName = pszName;
    return std::equal(strText.begin(), strText.end(), strName.begin(), strName.end(),
                      [](WCHAR a, WCHAR b) { return LowerAscii(a) == LowerAscii(b); });
}

WString InstanceName(const LINUX_NODE& node)
{
    return Join({node.strInstanceId, WTEXT("_0")});
}

/// A tree that refuses writing altogether: the process then does as one without the right.
bool IsReadOnly(int nErrno)
{
    return nErrno == EACCES || nErrno == EPERM || nErrno == EROFS;
}
} // namespace

HANDLE CLinuxPowerSwitch::Add(Item item)
{
    HANDLE const h = reinterpret_cast<HANDLE>(++m_nLastItem); // NOLINT(performance-no-int-to-ptr)
    m_items[h] = std::move(item);
    return h;
}

CLinuxPowerSwitch::Item* CLinuxPowerSwitch::Find(HANDLE h, Kind eKind)
{
    const auto it = m_items.find(h);
    return it == m_items.end() || it->second.eKind != eKind ? nullptr : &it->second;
}

LONG CLinuxPowerSwitch::InitializeCom(DWORD /*dwApartment*/)
{
    return ++m_nApartments == 1 ? kHrOk : kHrFalse;
}

void CLinuxPowerSwitch::UninitializeCom()
{
    m_nApartments = std::max(0, m_nApartments - 1);
}

LONG CLinuxPowerSwitch::InitializeSecurity(int /*nServices*/, DWORD /*dwAuthLevel*/,
                                           DWORD /*dwImpLevel*/, DWORD /*dwCapabilities*/)
{
    return m_nApartments == 0 ? kHrNotInitialised : kHrOk;
}

LONG CLinuxPowerSwitch::CreateLocator(HANDLE* phLocator)
{
    if (m_nApartments == 0)
        return kHrNotInitialised;
    *phLocator = Add({Kind::Locator, {}, {}});
    return kHrOk;
}

LONG CLinuxPowerSwitch::ConnectServer(HANDLE hLocator, const WCHAR* pszNamespace,
                                      HANDLE* phServices)
{
    if (Find(hLocator, Kind::Locator) == nullptr)
        return kHrBadHandle;
    if (!Names(pszNamespace, WTEXT("ROOT\\WMI")))
        return kWbemInvalidNamespace;
    *phServices = Add({Kind::Services, {}, {}});
    return kHrOk;
}

LONG CLinuxPowerSwitch::SetProxyBlanket(HANDLE hServices, DWORD /*dwAuthn*/, DWORD /*dwAuthz*/,
                                        DWORD /*dwAuthLevel*/, DWORD /*dwImpLevel*/,
                                        DWORD /*dwCapabilities*/)
{
    return Find(hServices, Kind::Services) == nullptr ? kHrBadHandle : kHrOk;
}

LONG CLinuxPowerSwitch::ExecQuery(HANDLE hServices, const WCHAR* pszLanguage, const WCHAR* pszQuery,
                                  DWORD /*dwFlags*/, HANDLE* phEnumerator)
{
    if (Find(hServices, Kind::Services) == nullptr)
        return kHrBadHandle;
    if (!Names(pszLanguage, WTEXT("WQL")))
        return kWbemInvalidQueryType;
    const auto pattern =
        CLikePattern::FromQuery(pszQuery == nullptr ? WString() : pszQuery,
                                WTEXT("MSPower_DeviceEnable"), WTEXT("InstanceName"));
    if (!pattern)
        return kWbemInvalidQuery;
    Item enumerator{Kind::Enumerator, Matching(*pattern), {}};
    if (enumerator.nodes.empty()) {
        m_nodes.Refresh(); // it may have come since the last look
        enumerator.nodes = Matching(*pattern);
    }
    *phEnumerator = Add(std::move(enumerator));
    return kHrOk;
}

std::vector<LinuxNodePtr> CLinuxPowerSwitch::Matching(const CLikePattern& pattern) const
{
    std::vector<LinuxNodePtr> nodes;
    for (const LinuxNodePtr& pNode : m_nodes.Present()) {
        // A kernel without power management has no such attribute: nothing to switch.
        if (pNode->IsUsb() && pattern.Matches(InstanceName(*pNode)) && ReadControl(*pNode))
            nodes.push_back(pNode);
    }
    return nodes;
}

LONG CLinuxPowerSwitch::Next(HANDLE hEnumerator, LONG /*lTimeoutMs*/, HANDLE* phObject,
                             DWORD* pdwReturned)
{
    *pdwReturned = 0;
    Item* const pEnumerator = Find(hEnumerator, Kind::Enumerator);
    if (pEnumerator == nullptr)
        return kHrBadHandle;
    if (pEnumerator->nodes.empty())
        return kHrFalse;
    const LinuxNodePtr pNode = pEnumerator->nodes.front();
    pEnumerator->nodes.erase(pEnumerator->nodes.begin());
    *phObject = Add({Kind::PowerObject, {pNode}, {}});
    *pdwReturned = 1;
    return kHrOk;
}

LONG CLinuxPowerSwitch::GetText(HANDLE hObject, const WCHAR* pszName, WString* pText)
{
    const Item* const pObject = Find(hObject, Kind::PowerObject);
    if (pObject == nullptr)
        return kHrBadHandle;
    if (!Names(pszName, WTEXT("InstanceName")))
        return kWbemNotFound;
    *pText = InstanceName(*pObject->nodes.front());
    return kHrOk;
}

/// "auto" or "on"; nothing when the device has gone or says neither.
std::optional<std::string> CLinuxPowerSwitch::ReadControl(const LINUX_NODE& node) const
{
    std::optional<std::string> strControl = m_nodes.Sysfs().Read(node.strFolder + kControl);
    if (strControl && *strControl != kAuto && *strControl != kOn)
        return std::nullopt;
    return strControl;
}

LONG CLinuxPowerSwitch::GetSwitch(HANDLE hObject, const WCHAR* pszName, DWORD* pdwValue)
{
    const Item* const pObject = Find(hObject, Kind::PowerObject);
    if (pObject == nullptr)
        return kHrBadHandle;
    const std::optional<std::string> strControl = ReadControl(*pObject->nodes.front());
    if (!Names(pszName, WTEXT("Enable")) || !strControl)
        return kWbemNotFound;
    *pdwValue = pObject->put.value_or(*strControl == kAuto) ? 0xFFFFFFFF : 0;
    return kHrOk;
}

LONG CLinuxPowerSwitch::PutSwitch(HANDLE hObject, const WCHAR* pszName, bool bValue)
{
    Item* const pObject = Find(hObject, Kind::PowerObject);
    if (pObject == nullptr)
        return kHrBadHandle;
    if (!Names(pszName, WTEXT("Enable")))
        return kWbemNotFound;
    pObject->put = bValue;
    return kHrOk;
}

LONG CLinuxPowerSwitch::PutInstance(HANDLE hServices, HANDLE hObject, DWORD /*dwFlags*/)
{
    const Item* const pObject = Find(hObject, Kind::PowerObject);
    if (pObject == nullptr || Find(hServices, Kind::Services) == nullptr)
        return kHrBadHandle;
    const LINUX_NODE& node = *pObject->nodes.front();
    const std::optional<std::string> strControl = ReadControl(node);
    if (!strControl)
        return Hr(kHrOfSystemError | kErrDeviceGone);
    const std::string strWanted = pObject->put.value_or(*strControl == kAuto) ? kAuto : kOn;
    if (!m_bMayWrite || strWanted == *strControl)
        return kHrOk;
    const int nError = m_nodes.Sysfs().Write(node.strFolder + kControl, strWanted);
    if (nError == 0 || IsReadOnly(nError))
        return kHrOk;
    return Hr(kHrOfSystemError | ErrorFromErrno(nError));
}

void CLinuxPowerSwitch::Release(HANDLE hObject)
{
    m_items.erase(hObject);
}
