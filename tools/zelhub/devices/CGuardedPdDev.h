#pragma once

#include "dev/CI2CPdDev.h"
#include "tools/zelhub/devices/CGuardedDev.h"

#include <array>

/// The tool's PD controller: behind a hub, unless a class below takes its transfers elsewhere.
class CGuardedPdDev : public CGuardedDev<CI2CPdDev>
{
public:
    static constexpr DWORD kBankSize = 0x20000;
    static constexpr DWORD kMarkAt = 0x7EF0; ///< two zeros here: the other bank took over
    static constexpr DWORD kMarkLength = 2;
    static constexpr DWORD kUnit = 31;

    explicit CGuardedPdDev(std::string strDevice = "PD controller")
        : CGuardedDev(std::move(strDevice))
    {}

    /// Reads block by block; notes how the last one ended.
    DWORD BlockInTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                       BYTE byLen, DWORD dwTimeoutMs) override;
    DWORD LastReadError() const { return m_dwReadError; }

    /// Reads the status twice and takes it only when both are the same: a status that did not
    /// arrive, or not as it was sent, would choose the wrong bank.
    bool MP_GetICStatus(BYTE* pBuf, BYTE byLen) override;

    /// Refuses where flash code runs that an update must not stop: the library resets a
    /// controller whose status it cannot read, and then erases both banks.
    bool Reset2RomEx() override;

    /// Reads at any address of both banks. @return 0 or the error
    virtual DWORD ReadFlash(DWORD dwAddr, BYTE* pBuf, DWORD cb);
    virtual DWORD ReadUnit() const { return kUnit; } ///< bytes that one transfer reads at most

    /// StrictReadBack compares this bank. @param bMarkMayBeSet its mark is no difference
    void CompareBank(unsigned nBank, bool bMarkMayBeSet);

protected:
    DWORD PieceSize() const override { return 1024; }
    DWORD ReadPiece(DWORD dwOffset, BYTE* pBuf, DWORD cb) override;
    bool Excuses(DWORD dwOffset, BYTE byDevice) const override;

private:
    bool m_bMarkMayBeSet = false;
    DWORD m_dwReadError = 0;
};
