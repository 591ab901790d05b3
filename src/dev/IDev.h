#pragma once

#include <list>
#include <string>
#include <vector>

#include "dev/DEVSTATE.h"
#include "platform/Export.h"
#include "platform/Types.h"

class CState;
class IFwFinder;
class IMatch;

/// Addresses the device behind a master in block transfers.
struct DEVICE_ATTR
{
    BYTE bySlaveAddr; ///< 8-bit I2C address (7-bit address << 1)
};

/// One updatable device. Concrete devices override what they support; the defaults refuse.
/// Operations that return bool give true for success. Not locked: one thread at a time.
class ZEL_API IDev
{
public:
    IDev() = default;
    IDev(const IDev&) = delete;
    IDev& operator=(const IDev&) = delete;

    /// Releases the match list's nodes (not the matchers) and the firmware buffer.
    virtual ~IDev();

    virtual void SetDevState(CState* pState);             ///< not owned
    virtual CState* GetDevState();                        ///< null in a bare device
    virtual CState* GetCertainDevState(DEVSTATE eState);  ///< null when there is none
    virtual void SetMaster(IDev* pMaster);                ///< the hub in front; not owned
    virtual IDev* GetMaster();                            ///< null without one
    virtual void SetSlaveAddr(BYTE byAddr);               ///< 8-bit I2C address behind a master
    virtual void SetFwBuf(const std::vector<BYTE>& vFw);  ///< copies the image
    virtual void SetFwLength(DWORD dwLength);             ///< bytes to write
    virtual IFwFinder* GetFwFinder();                     ///< owned by the device; may be null
    virtual void AddDevID(DWORD dwFirst, DWORD dwSecond); ///< hosts pass (VID, PID)
    virtual void DeleteDevID(DWORD dwFirst, DWORD dwSecond);

    /// Reads pair number dwIndex in the record's order: first the second argument of AddDevID,
    /// then the first. @return false past the end, outputs unchanged
    virtual bool GetDevID(DWORD& dwFirst, DWORD& dwSecond, DWORD dwIndex);

    virtual void AddHidDevID(DWORD dwFirst, DWORD dwSecond); ///< not used by hubs
    virtual void SetTopo(WCHAR* pszLocation);    ///< never written through; null = empty
    virtual void SetTopo(int nLevel, int nPort); ///< level 0: matches every node
    virtual WString GetLocationPath();           ///< empty when none is held
    virtual int GetLevel();                      ///< -1 in a bare device
    virtual int GetPort();                       ///< -1 in a bare device
    virtual bool ForceReset2Rom();               ///< resets whatever the state
    virtual bool Reset2Rom();
    virtual bool Reset2Flash();
    virtual bool WriteFlash();              ///< writes the firmware buffer
    virtual bool CheckFlash();              ///< the written image, by whatever check the mode has
    virtual void JudgeCodeMode(IDev* pDev); ///< asks which code runs; sets pDev's state

    /// Makes the finder that loads the image file; earlier ones live as long as the device.
    virtual void InitFwFinder(const std::string& strPath);

    /// The running version, major in the high byte. After a failure wVersion is as it was.
    virtual bool DevReadVersion(USHORT& wVersion);
    virtual bool DevErase();
    virtual bool IsPresent();
    virtual bool IsAbsent();

    /// The finder's news: the node is there and open (dwOldSS: its saved selective-suspend value,
    /// 0 = nothing to restore), or it has gone.
    virtual bool Arrive(DWORD devInst, DWORD dwOldSS);
    virtual bool Arrive(DWORD devInst);
    virtual bool Remove();
    virtual bool InitDev(BYTE byParam);
    virtual bool UnInitDev(BYTE byParam);
    virtual bool IsMeEx(DWORD devInst); ///< true: this node is the one it holds

    /// Sense as the concrete device gives it; hubs return true on failure.
    virtual bool MP_SetByPassMode(BYTE byMode, BYTE byAddr);
    virtual bool OpenHidDevice(DWORD devInst);
    virtual void CloseHidDevice();
    virtual void InitMaster();
    virtual void UninitMaster();

    /// Block transfers to a device behind this one; each blocks at most dwTimeoutMs.
    /// @param byCommand high byte of wValue @param wOffset register or address in the device
    /// @param pData byLen bytes, borrowed for the call
    /// @return status: 0 = success, 0xFFFFFFFF = not supported
    virtual DWORD BlockOutTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset,
                                BYTE* pData, BYTE byLen, DWORD dwTimeoutMs);
    virtual DWORD BlockInTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                               BYTE byLen, DWORD dwTimeoutMs);

    /// I2C through the device; pBuf is borrowed and holds wLen bytes.
    /// @return 1 = success, 0 = failure or not supported
    virtual DWORD I2CConfigImpl(BYTE byA, BYTE byB, BYTE byC);
    virtual DWORD I2CWriteImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen);
    virtual DWORD I2CReadImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen);

    /// A version inside the loaded image: 1 = the one that a running device reports.
    /// @return false, with wVersion as it was, when the image has none
    virtual bool DevReadBINVersion(USHORT& wVersion, int nWhich);
    virtual bool MatchDev(DWORD devInst); ///< true: this node may be taken
    virtual void ForceRemove();           ///< offline, whatever the state was

    int GetHidArrived() const { return m_nHidArrived; }
    void SetHidArrived(int nArrived) { m_nHidArrived = nArrived; }
    BYTE GetInitParam() const { return m_byInitParam; }
    BYTE GetUninitParam() const { return m_byUninitParam; }
    const DEVICE_ATTR& GetDeviceAttr() const { return m_attr; }
    const std::vector<BYTE>& GetFwBuf() const { return m_vFwBuf; }
    DWORD GetFwLength() const { return m_dwFwLength; }

protected:
    void AddMatch(IMatch* pMatch); ///< not owned by the list

    int m_nHidArrived = 0; ///< 1: the HID cycle saw the device
    CState* m_pState = nullptr;
    IFwFinder* m_pFwFinder = nullptr; ///< owned by the concrete device
    DWORD m_dwFwLength = 0;
    std::vector<BYTE> m_vFwBuf;
    DEVICE_ATTR m_attr = {0};
    BYTE m_byUninitParam = 0;
    BYTE m_byInitParam = 0;
    IDev* m_pMaster = nullptr;
    std::list<IMatch*> m_lstMatch;
};
