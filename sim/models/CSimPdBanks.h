#pragma once

#include "sim/models/CSimFlash.h"
#include "sim/models/CSimHubBanks.h"
#include "sim/models/CSimImage.h"

#include <array>
#include <optional>
#include <string>

/// What a simulated PD controller is, behind a hub or as a billboard device.
struct SimPdSettings
{
    bool bIspValidation = false; ///< flash code can validate the other bank itself
    bool bCrcCheck = true;       ///< flash code answers CRC checks
    SimImageCheck eImageCheck = SimImageCheck::Crc;
    USHORT usRomVersion = 0;
    std::array<BYTE, 20> status{};       ///< the status bits that nothing else sets
    CSimClock::Micros usCheck = 120'000; ///< what a validation or a CRC check takes
};

/// What a PD controller made of a request.
struct SimPdVerdict
{
    enum class Kind
    {
        Done,
        Refused, ///< a "no" that is no misuse, such as a validation that failed
        Misused, ///< pszReason says why; nothing was changed
        PowerLost
    };
    Kind eKind = Kind::Done;
    const char* pszReason = "";
};

/// A PD controller's inside: two banks of 128 KiB at 0 and 0x20000, enable, checks, start.
///
/// A bank that does not run erases each sector at its first write after enable 3. In the
/// running bank one write alone is taken: the two-byte mark at 0x7EF0, after the CRC of the
/// other bank was read as good. A good validation sets that mark itself. A start prefers the
/// complete bank without mark, else stays where it ran; a controller that can neither validate
/// nor check starts a complete bank that was written since. Without a complete bank ROM runs.
class CSimPdBanks
{
public:
    static constexpr DWORD kBankSize = 0x20000;
    static constexpr unsigned kEnableErase = 1;
    static constexpr unsigned kEnableWrite = 3;
    static constexpr BYTE kCrcNoImage = 0;
    static constexpr BYTE kCrcBad = 1;
    static constexpr BYTE kCrcGood = 2;

    /// What survives without power, and which code runs.
    struct Kept
    {
        std::vector<BYTE> flash;
        unsigned nActive = 0;
        bool bFresh = false; ///< the other bank was written since the last switch
        bool bRunsFlash = false;
    };

    explicit CSimPdBanks(const SimPdSettings& settings);

    void Start(SimStart eStart);
    void SetEnable(unsigned nLevel);
    SimPdVerdict Write(DWORD dwAddr, const BYTE* pData, DWORD cb);
    SimPdVerdict Read(DWORD dwAddr, BYTE* pData, DWORD cb) const;
    /// Flash code erases the other bank, ROM code both.
    SimPdVerdict EraseAll();
    /// Erases one bank, which must not be the running one.
    SimPdVerdict EraseBank(unsigned nBank);
    SimPdVerdict Validate();
    SimPdVerdict CheckCrc(unsigned nBank, BYTE& byResult);
    std::array<BYTE, 20> Status() const;

    void SetNextCrcResult(BYTE by) { m_nextCrcResult = by; }
    /// Puts an image at the start of a bank, the rest blank, as the factory does.
    void Load(unsigned nBank, const std::vector<BYTE>& image);

    const SimPdSettings& Settings() const { return m_settings; }
    CSimFlash& Flash() { return m_flash; }
    const CSimFlash& Flash() const { return m_flash; }
    /// The time that requests have taken since this was asked last.
    CSimClock::Micros TakeTime();

    bool RunsFlash() const { return m_bRunsFlash; }
    unsigned ActiveBank() const { return m_nActive; }
    unsigned Enable() const { return m_nEnable; }
    /// The version that the running code reports.
    USHORT Version() const;
    /// Whether flash code runs and its bank begins with this image, whatever its mark.
    bool Runs(const std::vector<BYTE>& image) const;
    std::vector<BYTE> Bank(unsigned nBank) const;
    bool IsComplete(unsigned nBank) const;
    bool IsMarked(unsigned nBank) const;

    Kept Keep() const;
    void Restore(const Kept& kept);

private:
    const BYTE* BankStart(unsigned nBank) const;
    bool IsRunning(unsigned nBank) const { return m_bRunsFlash && nBank == m_nActive; }
    SimPdVerdict WriteRunning(DWORD dwAddr, const BYTE* pData, DWORD cb);
    SimFlashResult EraseAtFirstWrite(DWORD dwAddr, DWORD cb);
    SimFlashResult SetMark(unsigned nBank);
    bool MovesToOther(SimStart eStart) const;

    SimPdSettings m_settings;
    CSimFlash m_flash;
    std::optional<BYTE> m_nextCrcResult;
    CSimClock::Micros m_usTaken = 0;
    unsigned m_nActive = 0;
    bool m_bFresh = false;
    bool m_bRunsFlash = false;
    unsigned m_nEnable = 0;
    bool m_bOtherIsGood = false; ///< the other bank's CRC was read as good, and nothing since
    std::vector<bool> m_erased;  ///< sectors that erased themselves since the enable
};
