#pragma once

#include "tools/zelhub/devices/COperationNotes.h"
#include "tools/zelhub/output/COutput.h"

#include <algorithm>
#include <vector>

constexpr DWORD kUnknownError = 0xFFFFFFFF; ///< a transfer failed, and its code is not known

/// A device of the tool's: does every step as the library's device does, notes what happened,
/// stops for Ctrl-C before flash is touched, and lets no difference between image and flash
/// pass.
template<typename Base>
class CGuardedDev : public Base, public COperationNotes
{
public:
    explicit CGuardedDev(std::string strDevice) : COperationNotes(std::move(strDevice)) {}

    /// Reads flash back and compares it with the firmware buffer, byte by byte. Notes the first
    /// difference. @return true when every byte was read and is the image's
    bool StrictReadBack()
    {
        const std::vector<BYTE>& image = this->GetFwBuf();
        const auto cb = static_cast<DWORD>(image.size());
        for (DWORD dw = 0; dw < cb; dw += PieceSize()) {
            const DWORD cbPiece = std::min<DWORD>(PieceSize(), cb - dw);
            if (!ReadBackPiece(image, dw, cbPiece))
                return false;
            Advance(static_cast<int>(100ULL * (dw + cbPiece) / cb));
        }
        return cb != 0;
    }

    bool Reset2RomEx() override
    {
        BeginPhase(Phase::ResetToRom);
        if (Stopped())
            return false;
        m_facts.bReset = Base::Reset2RomEx();
        Noted(Phase::ResetToRom);
        return Complain(m_facts.bReset);
    }

    bool DevEraseEx() override
    {
        BeginPhase(Phase::Erase);
        if (Stopped())
            return false;
        m_facts.bEraseBegun = true;
        Noted(Phase::Erase);
        m_facts.bErased = Base::DevEraseEx();
        return Complain(m_facts.bErased);
    }

    bool WriteFlashEx(const std::vector<BYTE>& vFw) override
    {
        BeginPhase(Phase::Write);
        if (Stopped())
            return false;
        m_facts.bWriteBegun = true;
        Noted(Phase::Write);
        m_facts.bWritten = WriteImage(vFw);
        return Complain(m_facts.bWritten);
    }

    /// The library's checks can pass on bytes that differ; the strict one goes first.
    bool CheckFlashWithCmp() override
    {
        if (!m_bReadBack) { // not when the device's own check falls back on this one
            BeginPhase(Phase::Verify);
            if (!StrictReadBack())
                return false;
        }
        m_facts.bVerified = Base::CheckFlashWithCmp();
        return Complain(m_facts.bVerified);
    }

    bool CheckFlashInFlash() override
    {
        BeginPhase(Phase::Verify);
        if (!StrictReadBack())
            return false;
        m_bReadBack = true;
        m_facts.bVerified = Base::CheckFlashInFlash();
        m_bReadBack = false;
        if (!m_facts.bVerified)
            m_facts.strCheckError = "every byte is right, but the " + m_facts.strDevice +
                                    "'s own check of the image failed";
        return Complain(m_facts.bVerified);
    }

    bool Reset2FlashEx() override
    {
        BeginPhase(Phase::ResetToFlash);
        m_facts.bStarted = Base::Reset2FlashEx();
        Noted(Phase::ResetToFlash);
        return Complain(m_facts.bStarted);
    }

protected:
    /// Writes an image to the bank that was chosen.
    virtual bool WriteImage(const std::vector<BYTE>& vFw) { return Base::WriteFlashEx(vFw); }

    virtual DWORD PieceSize() const = 0; ///< bytes between two steps of the progress

    /// Reads flash at an offset from the code area's start. @return 0 or the error
    virtual DWORD ReadPiece(DWORD dwOffset, BYTE* pBuf, DWORD cb) = 0;

    /// A difference that says nothing about the image.
    virtual bool Excuses(DWORD /*dwOffset*/, BYTE /*byDevice*/) const { return false; }

private:
    bool ReadBackPiece(const std::vector<BYTE>& image, DWORD dwFrom, DWORD cb)
    {
        // Bytes that the transfer leaves alone must not pass: each begins as its opposite.
        std::vector<BYTE> piece(image.begin() + dwFrom, image.begin() + dwFrom + cb);
        for (BYTE& by : piece)
            by = static_cast<BYTE>(~by);
        const DWORD dwRes = ReadPiece(dwFrom, piece.data(), cb);
        if (dwRes != 0) {
            m_facts.strCheckError = "flash cannot be read at offset " + Hex(dwFrom, 6);
            if (dwRes != kUnknownError)
                m_facts.strCheckError += " (error " + std::to_string(dwRes) + ")";
            return Complain(false);
        }
        for (DWORD i = 0; i < cb; ++i) {
            if (piece[i] == image[dwFrom + i] || Excuses(dwFrom + i, piece[i]))
                continue;
            m_facts.difference = FirstDifference{dwFrom + i, image[dwFrom + i], piece[i]};
            return false;
        }
        return true;
    }

    bool m_bReadBack = false; ///< the strict check of this round is done
};
