#pragma once

#include "dev/CI2CPdDev.h"
#include "tools/zelhub/CGuardedDev.h"

#include <array>

/// The tool's PD controller behind a hub.
class CGuardedPdDev : public CGuardedDev<CI2CPdDev>
{
public:
    static constexpr DWORD kBankSize = 0x20000;
    static constexpr DWORD kMarkAt = 0x7EF0; ///< two zeros here: the other bank took over
    static constexpr DWORD kMarkLength = 2;

    CGuardedPdDev() : CGuardedDev("PD controller") {}

    /// Reads the status twice and takes it only when both are the same: a status that did not
    /// arrive, or not as it was sent, would choose the wrong bank.
    bool MP_GetICStatus(BYTE* pBuf, BYTE byLen) override;

    /// Refuses where flash code runs that an update must not stop: the library resets a
    /// controller whose status it cannot read, and then erases both banks.
    bool Reset2RomEx() override;

    /// Reads at any address of both banks. @return 0 or the error
    DWORD ReadFlash(DWORD dwAddr, BYTE* pBuf, DWORD cb);

    /// StrictReadBack compares this bank. @param bMarkMayBeSet its mark is no difference
    void CompareBank(unsigned nBank, bool bMarkMayBeSet);

protected:
    DWORD PieceSize() const override { return 1024; }
    DWORD ReadPiece(DWORD dwOffset, BYTE* pBuf, DWORD cb) override;
    bool Excuses(DWORD dwOffset, BYTE byDevice) const override;

private:
    bool m_bMarkMayBeSet = false;
};
