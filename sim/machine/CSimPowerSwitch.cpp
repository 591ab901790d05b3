#include "sim/machine/CSimPowerSwitch.h"

#include "platform/CLikePattern.h"
#include "sim/machine/CSimMachine.h"
#include "sim/machine/SimText.h"

namespace
{
constexpr LONG Hr(DWORD dwCode)
{
    return static_cast<LONG>(dwCode);
}
constexpr LONG kHrNotInitialised = Hr(0x800401F0);
constexpr LONG kHrInvalidArgument = Hr(0x80070057);
constexpr LONG kHrBadHandle = Hr(0x80070006);
constexpr LONG kWbemNotFound = Hr(0x80041002);
constexpr LONG kWbemAccessDenied = Hr(0x80041003);
constexpr LONG kWbemInvalidNamespace = Hr(0x8004100E);
constexpr LONG kWbemInvalidQuery = Hr(0x80041017);
constexpr LONG kWbemInvalidQueryType = Hr(0x80041018);

constexpr DWORD kAuthnWinNt = 10;
constexpr DWORD kAuthLevelCall = 3;
constexpr DWORD kImpLevelImpersonate = 3;

class CApartmentObject : public CSimHandleObject
{};

class CLocatorObject : public CSimHandleObject
{};

class CServicesObject : public CSimHandleObject
{
public:
    bool bBlanket = false;
};

/// One object of the power class, with the value that PutSwitch has not written back yet.
class CPowerObject : public CSimHandleObject
{
public:
    CSimNode* pNode = nullptr;
    size_t nObject = 0;
    bool bValue = false;
};

class CEnumeratorObject : public CSimHandleObject
{
public:
    std::vector<std::shared_ptr<CPowerObject>> objects;
    size_t nNext = 0;
};

void Collect(CSimNode& node, const CLikePattern& pattern, CEnumeratorObject* pEnumerator)
{
    for (size_t i = 0; i < node.PowerObjects().size(); ++i) {
        if (!pattern.Matches(node.PowerObjectName(i)))
            continue;
        auto pObject = std::make_shared<CPowerObject>();
        pObject->pNode = &node;
        pObject->nObject = i;
        pObject->bValue = node.PowerObjects()[i].bEnabled;
        pEnumerator->objects.push_back(std::move(pObject));
    }
}
} // namespace

LONG CSimPowerSwitch::InitializeCom(DWORD /*dwApartment*/)
{
    if (const auto code = m_machine.Fault("IPowerSwitch::InitializeCom"))
        return Hr(*code);
    m_apartments.push_back(
        m_machine.Handles().Add("com apartment", "", std::make_shared<CApartmentObject>()));
    return m_apartments.size() == 1 ? kHrOk : kHrFalse;
}

void CSimPowerSwitch::UninitializeCom()
{
    (void)m_machine.Fault("IPowerSwitch::UninitializeCom");
    const HANDLE hLast = m_apartments.empty() ? nullptr : m_apartments.back();
    if (m_machine.Handles().Close<CApartmentObject>(hLast))
        m_apartments.pop_back();
}

LONG CSimPowerSwitch::InitializeSecurity(int nServices, DWORD dwAuthLevel, DWORD dwImpLevel,
                                         DWORD dwCapabilities)
{
    if (const auto code = m_machine.Fault("IPowerSwitch::InitializeSecurity"))
        return Hr(*code);
    if (m_apartments.empty())
        return kHrNotInitialised;
    if (nServices != -1 || dwAuthLevel != 1 || dwImpLevel != 4 || dwCapabilities != 0)
        return kHrInvalidArgument;
    if (m_bSecurity)
        return kHrTooLate;
    m_bSecurity = true;
    return kHrOk;
}

LONG CSimPowerSwitch::CreateLocator(HANDLE* phLocator)
{
    if (const auto code = m_machine.Fault("IPowerSwitch::CreateLocator"))
        return Hr(*code);
    if (m_apartments.empty())
        return kHrNotInitialised;
    *phLocator = m_machine.Handles().Add("wmi locator", "", std::make_shared<CLocatorObject>());
    return kHrOk;
}

LONG CSimPowerSwitch::ConnectServer(HANDLE hLocator, const WCHAR* pszNamespace, HANDLE* phServices)
{
    if (const auto code = m_machine.Fault("IPowerSwitch::ConnectServer"))
        return Hr(*code);
    if (m_machine.Handles().Find<CLocatorObject>(hLocator) == nullptr)
        return kHrBadHandle;
    if (!SimText::SameNoCase(SimText::Of(pszNamespace), WTEXT("ROOT\\WMI")))
        return kWbemInvalidNamespace;
    *phServices = m_machine.Handles().Add("wmi services", "", std::make_shared<CServicesObject>());
    return kHrOk;
}

LONG CSimPowerSwitch::SetProxyBlanket(HANDLE hServices, DWORD dwAuthn, DWORD dwAuthz,
                                      DWORD dwAuthLevel, DWORD dwImpLevel, DWORD dwCapabilities)
{
    if (const auto code = m_machine.Fault("IPowerSwitch::SetProxyBlanket"))
        return Hr(*code);
    const auto pServices = m_machine.Handles().Find<CServicesObject>(hServices);
    if (pServices == nullptr)
        return kHrBadHandle;
    if (dwAuthn != kAuthnWinNt || dwAuthz != 0 || dwAuthLevel != kAuthLevelCall ||
        dwImpLevel != kImpLevelImpersonate || dwCapabilities != 0)
        return kHrInvalidArgument;
    pServices->bBlanket = true;
    return kHrOk;
}

LONG CSimPowerSwitch::ExecQuery(HANDLE hServices, const WCHAR* pszLanguage, const WCHAR* pszQuery,
                                DWORD /*dwFlags*/, HANDLE* phEnumerator)
{
    const WString strQuery = SimText::Of(pszQuery);
    m_queries.push_back(SimText::Narrow(strQuery));
    if (const auto code = m_machine.Fault("IPowerSwitch::ExecQuery"))
        return Hr(*code);
    const auto pServices = m_machine.Handles().Find<CServicesObject>(hServices);
    if (pServices == nullptr)
        return kHrBadHandle;
    if (!pServices->bBlanket)
        return kWbemAccessDenied;
    if (!SimText::SameNoCase(SimText::Of(pszLanguage), WTEXT("WQL")))
        return kWbemInvalidQueryType;
    const auto pattern =
        CLikePattern::FromQuery(strQuery, WTEXT("MSPower_DeviceEnable"), WTEXT("InstanceName"));
    if (!pattern)
        return kWbemInvalidQuery;
    auto pEnumerator = std::make_shared<CEnumeratorObject>();
    for (const auto& pNode : m_machine.Tree().Nodes())
        if (pNode->IsPresent())
            Collect(*pNode, *pattern, pEnumerator.get());
    *phEnumerator = m_machine.Handles().Add("wmi enumerator", "", std::move(pEnumerator));
    return kHrOk;
}

LONG CSimPowerSwitch::Next(HANDLE hEnumerator, LONG /*lTimeoutMs*/, HANDLE* phObject,
                           DWORD* pdwReturned)
{
    *pdwReturned = 0;
    if (const auto code = m_machine.Fault("IPowerSwitch::Next"))
        return Hr(*code);
    const auto pEnumerator = m_machine.Handles().Find<CEnumeratorObject>(hEnumerator);
    if (pEnumerator == nullptr)
        return kHrBadHandle;
    if (pEnumerator->nNext >= pEnumerator->objects.size())
        return kHrFalse;
    const auto pObject = pEnumerator->objects[pEnumerator->nNext++];
    const std::string strName = SimText::Narrow(pObject->pNode->PowerObjectName(pObject->nObject));
    *phObject = m_machine.Handles().Add("wmi object", strName, pObject);
    *pdwReturned = 1;
    return kHrOk;
}

LONG CSimPowerSwitch::GetText(HANDLE hObject, const WCHAR* pszName, WString* pText)
{
    if (const auto code = m_machine.Fault("IPowerSwitch::GetText"))
        return Hr(*code);
    const auto pObject = m_machine.Handles().Find<CPowerObject>(hObject);
    if (pObject == nullptr)
        return kHrBadHandle;
    if (!SimText::SameNoCase(SimText::Of(pszName), WTEXT("InstanceName")))
        return kWbemNotFound;
    *pText = pObject->pNode->PowerObjectName(pObject->nObject);
    return kHrOk;
}

LONG CSimPowerSwitch::GetSwitch(HANDLE hObject, const WCHAR* pszName, DWORD* pdwValue)
{
    if (const auto code = m_machine.Fault("IPowerSwitch::GetSwitch"))
        return Hr(*code);
    const auto pObject = m_machine.Handles().Find<CPowerObject>(hObject);
    if (pObject == nullptr)
        return kHrBadHandle;
    if (!SimText::SameNoCase(SimText::Of(pszName), WTEXT("Enable")))
        return kWbemNotFound;
    *pdwValue = pObject->bValue ? 0xFFFFFFFF : 0;
    return kHrOk;
}

LONG CSimPowerSwitch::PutSwitch(HANDLE hObject, const WCHAR* pszName, bool bValue)
{
    if (const auto code = m_machine.Fault("IPowerSwitch::PutSwitch"))
        return Hr(*code);
    const auto pObject = m_machine.Handles().Find<CPowerObject>(hObject);
    if (pObject == nullptr)
        return kHrBadHandle;
    if (!SimText::SameNoCase(SimText::Of(pszName), WTEXT("Enable")))
        return kWbemNotFound;
    pObject->bValue = bValue;
    return kHrOk;
}

LONG CSimPowerSwitch::PutInstance(HANDLE hServices, HANDLE hObject, DWORD /*dwFlags*/)
{
    if (const auto code = m_machine.Fault("IPowerSwitch::PutInstance"))
        return Hr(*code);
    const auto pObject = m_machine.Handles().Find<CPowerObject>(hObject);
    if (pObject == nullptr || m_machine.Handles().Find<CServicesObject>(hServices) == nullptr)
        return kHrBadHandle;
    if (!m_machine.Traits().bElevated)
        return kWbemAccessDenied;
    pObject->pNode->SetPowerObject(pObject->nObject, pObject->bValue);
    return kHrOk;
}

void CSimPowerSwitch::Release(HANDLE hObject)
{
    (void)m_machine.Fault("IPowerSwitch::Release");
    CSimHandles& handles = m_machine.Handles();
    if (handles.Find<CLocatorObject>(hObject) != nullptr)
        handles.Close<CLocatorObject>(hObject);
    else if (handles.Find<CServicesObject>(hObject) != nullptr)
        handles.Close<CServicesObject>(hObject);
    else if (handles.Find<CEnumeratorObject>(hObject) != nullptr)
        handles.Close<CEnumeratorObject>(hObject);
    else
        handles.Close<CPowerObject>(hObject);
}
