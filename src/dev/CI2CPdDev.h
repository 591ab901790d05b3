#pragma once

#include "dev/CZelHubPDDev.h"

/// A PD controller behind a hub's I2C bus. Every access is a block transfer of its master
/// (SetMaster; the slave address is set with SetSlaveAddr). The master must be attached to the
/// same finder: the finder's DummyRemove closes the transport, and only the master's arrival
/// opens it again. Hosts make these devices themselves. Operations block; nothing is retried.
class ZEL_API CI2CPdDev : public CZelHubPDDev
{
public:
    CI2CPdDev();
    ~CI2CPdDev() override;

    /// Both probe the controller by a vendor-command enable, and with the answer tell the state
    /// that the device is there (node 0) or has gone.
    bool IsPresent() override;
    bool IsAbsent() override;

    bool Arrive(DWORD devInst, DWORD dwOldSS) override; ///< always true
    bool Arrive(DWORD devInst) override;                ///< keeps the selective-suspend value
    bool Remove() override;                             ///< always true
    bool IsMeEx(DWORD devInst) override;

    /// Sets the download slave address of the open hub. @return true on success
    bool MP_SetByPassMode(BYTE byMode, BYTE byAddr) override;

    /// The master's block transfers. @return its status; 0xFFFFFFFF without a master
    DWORD BlockOutTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                        BYTE byLen, DWORD dwTimeoutMs) override;
    DWORD BlockInTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                       BYTE byLen, DWORD dwTimeoutMs) override;

    /// The version in the loaded image, whatever nWhich is.
    /// @return false with wVersion unchanged when the image is too short for it
    bool DevReadBINVersion(USHORT& wVersion, int nWhich) override;

    /// Chooses the bank to write, the one that does not run: 0 or 0x20000. Call it before a write,
    /// a read-back or a check. @return whether the status could be read; the bank stays otherwise
    bool IsDualBank() override;
    bool IsRomCode() override;
    bool IsNeedReset() override; ///< true
    bool Reset2RomEx() override;
    bool Reset2FlashEx() override;

    /// Enables writing and writes the chosen bank in blocks of 256 bytes, each shown in percent
    /// and as progress 30 to 70. A failed enable alone does not fail it.
    bool WriteFlashEx(const std::vector<BYTE>& vFw) override;
    bool ReadFlashEx(std::vector<BYTE>& vOut) override;

    /// The controller's own check: ISP validation, CRC check, or reading back and comparing, by
    /// what its status offers. The CRC check marks the other bank.
    bool CheckFlashInFlash() override;
    bool DevReadVersionEx(USHORT& wVersion) override;
    bool DevEraseEx() override;

    /// @param byCount bytes of the command to send: 01, then zeros; at most 61
    bool MP_Vdcmdenable(BYTE byCount) override;
    virtual bool MP_EraseFlash(BYTE byCount); ///< up to 30 s; byCount as above
    virtual bool MP_GetICStatus(BYTE* pBuf, BYTE byLen);
    virtual bool MP_ISPValidation(BYTE byValue); ///< up to 30 s

    /// Checks the written bank's CRC; when it is good, clears the other bank's two-byte mark.
    /// @return true when the CRC was good and the mark was written
    virtual bool MP_CheckCRC();

private:
    bool Probe();
    bool Send(BYTE byCommand, USHORT wOffset, BYTE* pData, BYTE byLen, DWORD dwTimeoutMs);
    bool Receive(BYTE byCommand, USHORT wOffset, BYTE* pData, BYTE byLen);
    bool SendPadded(BYTE byCommand, BYTE byCount, DWORD dwTimeoutMs);
    bool WriteFlashUnit(DWORD dwAddr, const BYTE* pBuf, DWORD dwLen);
    bool ReadFlashUnit(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);

    friend class CI2CPdDevTestAccess;
};
