#pragma once

#include "sim/models/CSimFlash.h"
#include "sim/models/CSimImage.h"

#include <set>

/// How a chip starts.
enum class SimStart
{
    PowerUp, ///< flash code of the active bank, else of the other, else ROM
    ToFlash, ///< the download bank if it is new and complete, else as PowerUp
    ToRom
};

/// A hub's flash as its code sees it: one bank or two, what starts, and where address 0 lies.
///
/// With two banks one is active: it holds the code that runs or would. The window at address 0
/// shows the active bank; from write enable until the enable changes or a reset it shows the
/// other one, the download bank, which erases each sector at its first write after the enable.
/// A reset to flash makes the download bank active when it was written since the last switch
/// and holds a complete image. With one bank the window always shows that bank, which must be
/// erased by request; flash code never lets its own bank be touched, ROM code does.
class CSimHubBanks
{
public:
    /// What survives without power, and which code runs.
    struct Kept
    {
        std::vector<BYTE> flash;
        unsigned nActive = 0;
        bool bFresh = false; ///< the download bank was written since the last switch
        bool bRunsFlash = false;
    };

    /// @param cbBank  bytes of one bank, a multiple of the sector size
    CSimHubBanks(DWORD cbBank, bool bDual, SimImageCheck eCheck);

    void Boot(SimStart eStart);
    bool RunsFlash() const { return m_bRunsFlash; }
    bool IsDual() const { return m_bDual; }
    DWORD BankSize() const { return m_cbBank; }
    unsigned ActiveBank() const { return m_nActive; }
    unsigned DownloadBank() const { return m_bDual ? 1 - m_nActive : 0; }

    /// Opens or closes the window for writing (opening it again starts a new download).
    void SetWritable(bool bWritable);

    SimFlashResult Write(DWORD dwAddr, const BYTE* pData, DWORD cb);
    /// Flash code erases the download bank, ROM code everything.
    SimFlashResult Erase();
    SimFlashResult Read(DWORD dwAddr, BYTE* pData, DWORD cb) const;

    bool IsComplete(unsigned nBank) const;
    /// The running image's version; only while flash code runs.
    USHORT RunningVersion() const;

    std::vector<BYTE> Bank(unsigned nBank) const;
    /// Puts an image at the start of a bank, the rest blank, as the factory does.
    void Load(unsigned nBank, const std::vector<BYTE>& image);

    CSimFlash& Flash() { return m_flash; }
    const CSimFlash& Flash() const { return m_flash; }
    /// The time that flash operations have taken since this was asked last.
    CSimClock::Micros TakeTime() { return m_flash.TakeTime(); }

    Kept Keep() const;
    void Restore(const Kept& kept);

private:
    unsigned WindowBank() const;
    const BYTE* BankStart(unsigned nBank) const;
    bool IsRunning(unsigned nBank) const { return m_bRunsFlash && nBank == m_nActive; }
    SimFlashResult EraseAtFirstWrite(DWORD dwFlashAddr, DWORD cb);

    DWORD m_cbBank;
    bool m_bDual;
    SimImageCheck m_eCheck;
    CSimFlash m_flash;
    unsigned m_nActive = 0;
    bool m_bFresh = false;
    bool m_bRunsFlash = false;
    bool m_bWritable = false;
    std::set<DWORD> m_erased; ///< sectors that this download erased
};
