#pragma once

#include "dev/CZelHubPDDev.h"

class CTopoMatch;
class CVidPidMatch;

/// A hub chip that answers vendor requests on its own endpoint 0. Everything goes to whatever
/// hub the command object has open. Operations block; nothing is retried.
class ZEL_API CUSBDev : public CZelHubPDDev
{
public:
    CUSBDev();
    ~CUSBDev() override;

    void AddDevID(DWORD dwFirst, DWORD dwSecond) override;
    void SetTopo(WCHAR* pszLocation) override;
    void SetTopo(int nLevel, int nPort) override;
    bool Arrive(DWORD devInst, DWORD dwOldSS) override; ///< always true, whatever the state says
    bool Arrive(DWORD devInst) override;                ///< keeps the selective-suspend value
    bool Remove() override; ///< restores selective suspend where it was saved; always true
    bool IsMeEx(DWORD devInst) override;

    /// Sets the download slave address. Deliberate: true means that the request FAILED.
    bool MP_SetByPassMode(BYTE byMode, BYTE byAddr) override;

    /// Vendor request 0x40/0xDC: 3-byte header and data. @param byLen at most 61, else 87
    DWORD BlockOutTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                        BYTE byLen, DWORD dwTimeoutMs) override;

    /// Vendor request 0xC0/0xEC: byLen bytes from register wOffset into pData.
    DWORD BlockInTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                       BYTE byLen, DWORD dwTimeoutMs) override;

    /// I2C by raw setup packets (0x40/0xF6, 0x40/0xC6, 0xC0/0xD6). @return 1 = success, 0 = failure
    DWORD I2CConfigImpl(BYTE byA, BYTE byB, BYTE byC) override;
    DWORD I2CWriteImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen) override;
    DWORD I2CReadImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen) override;
    bool MatchDev(DWORD devInst) override; ///< true when no matcher refuses, or there is none

    bool IsDualBank() override;
    bool IsRomCode() override;
    bool IsNeedReset() override;
    bool Reset2RomEx() override;
    bool Reset2FlashEx() override;

    /// Enables writing and writes at the code area in requests of 4096 bytes, each shown in
    /// percent and as progress 30 to 70. A failed enable alone does not fail it.
    bool WriteFlashEx(const std::vector<BYTE>& vFw) override;
    bool ReadFlashEx(std::vector<BYTE>& vOut) override;

    /// Lets the chip validate its flash (up to 50 s) or, where it cannot, reads back and compares.
    bool CheckFlashInFlash() override;
    bool DevReadVersionEx(USHORT& wVersion) override;
    bool DevEraseEx() override;
    bool MP_Vdcmdenable(BYTE byValue) override;

    /// The present device's own identifiers; makes the device match by identifier.
    virtual void SetDevID(DWORD dwVid, DWORD dwPid);

protected:
    std::unique_ptr<CVidPidMatch> m_pVidPidMatch; ///< null before the first identifiers
    std::unique_ptr<CTopoMatch> m_pTopoMatch;     ///< null before the first topology
    WString m_LocationPath;                       ///< as last filled

private:
    void NeedVidPidMatch(); ///< creates and adds the matcher if there is none
    void NeedTopoMatch();

    // Both ignore dwAddr: they start where the code area does.
    bool WriteFlashUnit(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    bool ReadFlashUnit(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    bool IsSameLoacation(DWORD devInst);
    void FillLoacation(DWORD devInst);

    friend class CUSBDevTestAccess; ///< nothing in the update path calls the private operations
};
