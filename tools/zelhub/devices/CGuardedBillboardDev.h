#pragma once

#include "tools/zelhub/devices/CGuardedPdDev.h"

/// The tool's billboard device: the PD controller's commands, carried by WinUSB vendor requests
/// instead of a hub's block transfers. It opens itself when it is used, found by its place, and
/// again after it left and came back.
class CGuardedBillboardDev : public CGuardedPdDev
{
public:
    /// @param strHardwareId a part of its hardware ID, so that nothing else at its place is asked
    CGuardedBillboardDev(std::string strLocation, std::string strHardwareId);
    ~CGuardedBillboardDev() override;

    DWORD BlockOutTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                        BYTE byLen, DWORD dwTimeoutMs) override;
    DWORD BlockInTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                       BYTE byLen, DWORD dwTimeoutMs) override;

    /// Erases each bank that does not run.
    bool MP_EraseFlash(BYTE byCount) override;
    bool ReadFlashEx(std::vector<BYTE>& vOut) override;
    DWORD ReadFlash(DWORD dwAddr, BYTE* pBuf, DWORD cb) override;
    DWORD ReadUnit() const override { return kRequestSize; }

    /// Opens it where it is not open. @return false when it is not there or does not open
    bool Open();
    void Close();

protected:
    /// Erases the bank where flash code runs from the other one, and writes it. Refuses to touch
    /// the bank that runs.
    bool WriteImage(const std::vector<BYTE>& vFw) override;
    DWORD PieceSize() const override { return kRequestSize; }

private:
    static constexpr DWORD kRequestSize = 4096;

    template<typename Request>
    DWORD Send(const BYTE* pData, DWORD cb, Request request);
    template<typename Request>
    DWORD Receive(BYTE* pData, DWORD cb, Request request);
    DWORD WritePiece(DWORD dwAddr, const BYTE* pData, DWORD cb);
    bool EraseBank(unsigned nBank);

    std::string m_strLocation;
    std::string m_strHardwareId;
    bool m_bOpen = false;
    /// What transfers move: it stays valid when one that timed out is still under way, and is
    /// used again only after the connection was closed.
    std::array<BYTE, kRequestSize> m_buffer = {};
};
