#pragma once

#include "platform/Types.h"

#include <functional>

/// One conversation with the power switch in "ROOT\WMI": connects, then walks over the objects
/// of device instances. Destruction releases what was made and leaves COM.
class CWmiSwitch
{
public:
    /// @param pszFunction the routine that the messages name; kept
    explicit CWmiSwitch(const char* pszFunction) : m_pszFunction(pszFunction) {}
    CWmiSwitch(const CWmiSwitch&) = delete;
    CWmiSwitch& operator=(const CWmiSwitch&) = delete;
    ~CWmiSwitch();

    /// Enters COM; what was entered is left at destruction.
    /// @return the HRESULT: 0 or 1 when the thread is in its apartment
    LONG EnterCom();

    /// Enters COM. @return false, with a message, when it refuses
    bool EnterComOrSay();

    /// Sets up security and connects. @return false, with a message, at the first failure
    bool Connect();

    /// Calls visit for each object of each instance ID, in order.
    /// @return false, with a message, when a query fails; what follows it is left out
    bool ForEachObject(WCHAR** ppszIds, int nCount, const std::function<void(HANDLE)>& visit);

    /// Logs an object's name and value. @return its Enable property, widened
    DWORD ReadEnable(HANDLE hObject);

    /// Sets Enable and writes the object back. @return the HRESULT of what failed, or success
    LONG WriteEnable(HANDLE hObject, bool bEnable);

private:
    bool ConnectServices();

    const char* m_pszFunction;
    bool m_bInCom = false;
    HANDLE m_hLocator = nullptr;
    HANDLE m_hServices = nullptr;
};

/// The query for the objects of one instance ID.
WString PowerQuery(const WCHAR* pszId);

/// Replaces every strWhat in *pstrText, going on behind each inserted text. An empty strWhat is
/// only reported.
void ReplaceAllString(WString* pstrText, const WString& strWhat, const WString& strWith);
