#pragma once

#include <string>

#include "dev/DEVSTATE.h"
#include "platform/Export.h"
#include "platform/Types.h"

class CZelHubPDDev;

/// What a device may do in one mode. Operations return true on success; a refused one says so at
/// level 1 and changes nothing. Each device has states of its own.
class ZEL_API CState
{
public:
    CState();
    CState(const CState&) = delete;
    CState& operator=(const CState&) = delete;
    virtual ~CState();

    virtual bool Reset2Rom() = 0;
    virtual bool Reset2Flash() = 0;
    virtual bool WriteFlash() = 0;
    virtual bool CheckFlash() = 0;
    virtual bool DevReadVersion(USHORT& wVersion) = 0;
    virtual bool DevErase() = 0;
    virtual bool Arrive(DWORD devInst, DWORD dwOldSS) = 0; ///< the arguments are not used
    virtual bool Remove() = 0;
    virtual bool ToRom() = 0;
    virtual bool ToFlash() = 0;
    virtual bool ToWait() = 0;
    virtual bool IsPresent() = 0;
    virtual bool IsAbsent() = 0;

    void SetDev(CZelHubPDDev* pDev) { m_pDev = pDev; } ///< not owned
    const std::string& GetName() const { return m_strName; }

protected:
    bool Refuse(const char* pszFunc, const char* pszText); ///< says why at level 1. @return false
    bool GoTo(DEVSTATE eState);                            ///< makes it current. @return true

    std::string m_strName;
    CZelHubPDDev* m_pDev = nullptr;
};
