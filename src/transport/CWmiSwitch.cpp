#include "transport/CWmiSwitch.h"

#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/IPowerSwitch.h"
#include "platform/Platform.h"

namespace
{
constexpr DWORD kApartmentThreaded = 2;
constexpr int kAnyServices = -1;
constexpr DWORD kAuthLevelNone = 1;
constexpr DWORD kImpLevelDelegate = 4;
constexpr DWORD kNoCapabilities = 0;
constexpr DWORD kAuthnWinnt = 10;
constexpr DWORD kAuthzNone = 0;
constexpr DWORD kAuthLevelCall = 3;
constexpr DWORD kImpLevelImpersonate = 3;
constexpr DWORD kForwardOnlyAtOnce = 0x30;
constexpr LONG kNoTimeLimit = -1;
constexpr DWORD kUpdateOnly = 1;
constexpr const WCHAR* kEnable = WTEXT("Enable");

IPowerSwitch& Switch()
{
    return CurrentPlatform().PowerSwitch();
}

/// Gives a WMI object back at the end of its scope.
class CWmiObject
{
public:
    explicit CWmiObject(HANDLE hObject) : m_hObject(hObject) {}
    CWmiObject(const CWmiObject&) = delete;
    CWmiObject& operator=(const CWmiObject&) = delete;
    ~CWmiObject()
    {
        if (m_hObject != nullptr)
            Switch().Release(m_hObject);
    }

private:
    HANDLE m_hObject;
};
} // namespace

CWmiSwitch::~CWmiSwitch()
{
    if (m_hServices != nullptr)
        Switch().Release(m_hServices);
    if (m_hLocator != nullptr)
        Switch().Release(m_hLocator);
    if (m_bInCom)
        Switch().UninitializeCom();
}

LONG CWmiSwitch::EnterCom()
{
    const LONG lResult = Switch().InitializeCom(kApartmentThreaded);
    m_bInCom = lResult == kHrOk || lResult == kHrFalse;
    return lResult;
}

bool CWmiSwitch::EnterComOrSay()
{
    const LONG lResult = EnterCom();
    if (!m_bInCom)
        CMsg::GetObj()->ShowMsg(MSG_ERROR, m_pszFunction,
                                "Failed to initialize COM library. Error code = 0x%08x \n",
                                lResult);
    return m_bInCom;
}

bool CWmiSwitch::Connect()
{
    const LONG lResult = Switch().InitializeSecurity(kAnyServices, kAuthLevelNone,
                                                     kImpLevelDelegate, kNoCapabilities);
    if (lResult != kHrOk && lResult != kHrTooLate) {
        CMsg::GetObj()->ShowMsg(MSG_ERROR, m_pszFunction,
                                "Failed to initialize security.Error code = 0x%08x \n", lResult);
        return false;
    }
    return ConnectServices();
}

bool CWmiSwitch::ConnectServices()
{
    CMsg* const pMsg = CMsg::GetObj();
    LONG lResult = Switch().CreateLocator(&m_hLocator);
    if (lResult < 0) {
        pMsg->ShowMsg(MSG_ERROR, m_pszFunction,
                      "Failed to create IWbemLocator object. Error code = 0x%08x . \n", lResult);
        return false;
    }
    lResult = Switch().ConnectServer(m_hLocator, WTEXT("ROOT\\WMI"), &m_hServices);
    if (lResult < 0) {
        pMsg->ShowMsg(MSG_ERROR, m_pszFunction, "Could not connect. Error code = 0x%08x. \n",
                      lResult);
        return false;
    }
    pMsg->ShowMsg(MSG_INFO, m_pszFunction, "Connected to ROOT\\WMI WMI namespace. \n");
    lResult = Switch().SetProxyBlanket(m_hServices, kAuthnWinnt, kAuthzNone, kAuthLevelCall,
                                       kImpLevelImpersonate, kNoCapabilities);
    if (lResult < 0) {
        pMsg->ShowMsg(MSG_ERROR, m_pszFunction,
                      "Could not set proxy blanket. Error code = 0x%08x. \n", lResult);
        return false;
    }
    return true;
}

bool CWmiSwitch::ForEachObject(WCHAR** ppszIds, int nCount,
                               const std::function<void(HANDLE)>& visit)
{
    CMsg* const pMsg = CMsg::GetObj();
    for (int i = 0; i < nCount; ++i) {
        const WString strQuery = PowerQuery(ppszIds[i]);
        pMsg->ShowMsg(MSG_INFO, m_pszFunction, "Query string=%ws\n", strQuery.c_str());
        HANDLE hEnumerator = nullptr;
        const LONG lResult = Switch().ExecQuery(m_hServices, WTEXT("WQL"), strQuery.c_str(),
                                                kForwardOnlyAtOnce, &hEnumerator);
        if (lResult < 0) {
            pMsg->ShowMsg(MSG_FAIL, m_pszFunction,
                          "ExecQuery for MSPower_DeviceEnable fail. Error code = 0x%08x. \n",
                          lResult);
            return false;
        }
        const CWmiObject enumerator(hEnumerator);
        for (;;) {
            HANDLE hObject = nullptr;
            DWORD dwReturned = 0;
            const LONG lNext = Switch().Next(hEnumerator, kNoTimeLimit, &hObject, &dwReturned);
            if (lNext < 0 || dwReturned == 0)
                break;
            const CWmiObject object(hObject);
            visit(hObject);
        }
    }
    return true;
}

DWORD CWmiSwitch::ReadEnable(HANDLE hObject)
{
    CMsg* const pMsg = CMsg::GetObj();
    WString strName;
    Switch().GetText(hObject, WTEXT("InstanceName"), &strName);
    pMsg->ShowMsg(MSG_INFO, m_pszFunction, "Device InstanceName : %ws. \n", strName.c_str());
    DWORD dwEnable = 0;
    Switch().GetSwitch(hObject, kEnable, &dwEnable);
    pMsg->ShowMsg(MSG_INFO, m_pszFunction, "Device Power Enable = %d.\n", dwEnable);
    return dwEnable;
}

LONG CWmiSwitch::WriteEnable(HANDLE hObject, bool bEnable)
{
    const LONG lPut = Switch().PutSwitch(hObject, kEnable, bEnable);
    if (lPut < 0)
        return lPut;
    return Switch().PutInstance(m_hServices, hObject, kUpdateOnly);
}

WString PowerQuery(const WCHAR* pszId)
{
    WString strPattern = pszId;
    ReplaceAllString(&strPattern, WTEXT("_"), WTEXT("[_]"));
    ReplaceAllString(&strPattern, WTEXT("\\"), WTEXT("\\\\"));
    return WTEXT("SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE \"") + strPattern +
           WTEXT("%%\"");
}

void ReplaceAllString(WString* pstrText, const WString& strWhat, const WString& strWith)
{
    if (strWhat.empty()) {
        CMsg::GetObj()->ShowMsg(MSG_FAIL, "ReplaceAllString", "Make sure string is exist\n");
        return;
    }
    size_t nAt = pstrText->find(strWhat);
    while (nAt != WString::npos) {
        pstrText->replace(nAt, strWhat.size(), strWith);
        nAt = pstrText->find(strWhat, nAt + strWith.size());
    }
}
