#pragma once

#include "sim/CSimFlash.h"
#include "sim/CSimImage.h"
#include "sim/CSimMisuse.h"
#include "sim/CSimUsbChip.h"
#include "sim/ISimI2cTarget.h"

#include <array>

/// What a simulated PD controller is.
struct SimPdSettings
{
    bool bIspValidation = false; ///< flash code can validate the other bank itself
    bool bCrcCheck = true;       ///< it answers CRC checks
    SimImageCheck eImageCheck = SimImageCheck::Crc;
    USHORT usRomVersion = 0;
    std::array<BYTE, 20> status{};                  ///< the status bits that nothing else sets
    SimReturn ret = {5'000, 400'000, false, false}; ///< how a reset silences it for a while
    CSimClock::Micros usCheck = 120'000;            ///< a validation or CRC check
};

/// A PD controller on a hub's I2C bus: two banks of 128 KiB at 0 and 0x20000, in segments of
/// 64 KiB with command bytes of their own.
///
/// The enable's level is the count of its data bytes: 1 for erase and validation, 3 for writes.
/// A bank that does not run erases each sector at its first write after the enable. In the
/// running bank one write alone is taken: the two-byte mark at 0x7EF0, after the CRC of the
/// other bank was read as good. A good validation sets that mark itself. A start prefers the
/// complete bank without mark, else stays where it ran; a controller that can neither validate
/// nor check starts a complete bank that was written since. Without a complete bank ROM runs.
///
/// What it refuses it does not acknowledge, and most of that is misuse as well. The clock must
/// outlive it.
class CSimPd : public ISimI2cTarget
{
public:
    static constexpr DWORD kBankSize = 0x20000;
    static constexpr BYTE kWriteUnit = 29;
    static constexpr BYTE kReadUnit = 31;
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
        bool bOnBus = true;
    };

    explicit CSimPd(CSimClock& clock, const SimPdSettings& settings = {});

    SimI2cResult Write(BYTE byCommand, USHORT usOffset, const BYTE* pData, BYTE cb) override;
    SimI2cResult Read(BYTE byCommand, USHORT usOffset, BYTE* pData, BYTE cb) override;

    /// Puts an image into a bank and starts the controller anew.
    void LoadImage(const std::vector<BYTE>& image, unsigned nBank = 0);
    void PowerUp();
    void PowerDown();
    void LosePowerAt(std::uint64_t nFlashOperation, SimPowerCut eWhen = SimPowerCut::Middle);
    std::uint64_t FlashOperations() const { return m_flash.Operations(); }

    /// Faults by transfer, read for a bus: Fail, Stall and UrbStatus do not acknowledge, TimeOut
    /// holds the bus down, Vanish is a power-down.
    SimFaultPlan& Faults() { return m_faults; }
    std::uint64_t Transfers() const { return m_faults.Transfers(); }
    /// From now on every transfer is stretched by this long.
    void SetStretch(CSimClock::Micros us) { m_usStretch = us; }
    void SetNextReturn(const SimReturn& ret) { m_nextReturn = ret; }
    /// The next CRC check answers this.
    void SetNextCrcResult(BYTE by) { m_nextCrcResult = by; }
    CSimMisuse& Misuse() { return m_misuse; }

    // What is inside, for whoever judges from outside.
    SimPdSettings& Settings() { return m_settings; }
    bool IsOnBus() const { return m_bOnBus; }
    bool RunsFlash() const { return m_bRunsFlash; }
    unsigned ActiveBank() const { return m_nActive; }
    USHORT Version() const;
    /// Whether flash code runs and its bank begins with this image, whatever its mark.
    bool Runs(const std::vector<BYTE>& image) const;
    std::vector<BYTE> Bank(unsigned nBank) const;
    bool IsComplete(unsigned nBank) const;
    bool IsMarked(unsigned nBank) const;
    unsigned Enable() const { return m_nEnable; }

    Kept Keep() const;
    void Restore(const Kept& kept);

private:
    struct Span
    {
        BYTE byCommand;
        USHORT usOffset;
        BYTE cb;
        std::string Name(bool bWrite) const;
    };

    SimI2cResult Serve(const Span& span, BYTE* pIn, const BYTE* pOut);
    SimI2cAnswer ServeWrite(const Span& span, const BYTE* pData);
    SimI2cAnswer ServeRead(const Span& span, BYTE* pData);
    SimI2cAnswer SetEnable(const Span& span, const BYTE* pData);
    SimI2cAnswer EraseFlash(const Span& span, const BYTE* pData);
    SimI2cAnswer Validate(const Span& span);
    SimI2cAnswer Reset(const Span& span, const BYTE* pData, SimStart eStart);
    SimI2cAnswer WriteUnit(const Span& span, DWORD dwSegment, const BYTE* pData);
    SimI2cAnswer ReadUnit(const Span& span, DWORD dwSegment, BYTE* pData);
    SimI2cAnswer ReadStatus(const Span& span, BYTE* pData);
    SimI2cAnswer ReadCrc(const Span& span, BYTE* pData);

    SimI2cAnswer Misused(const std::string& reason);
    SimI2cAnswer OfFlash(SimFlashResult eRes, const std::string& what);
    bool IsMark(DWORD dwAddr, const BYTE* pData, BYTE cb) const;
    SimFlashResult EraseAtFirstWrite(DWORD dwAddr, DWORD cb);
    SimFlashResult SetMark(unsigned nBank);
    bool IsRunning(unsigned nBank) const { return m_bRunsFlash && nBank == m_nActive; }
    void Start(SimStart eStart);
    bool MovesToOther(SimStart eStart) const;
    void Later(CSimClock::Micros us, void (CSimPd::*pfnWhat)());
    void Silence();
    void ComeBack();

    CSimClock& m_clock;
    SimPdSettings m_settings;
    CSimFlash m_flash;
    CSimMisuse m_misuse;
    SimFaultPlan m_faults;
    CSimClock::Micros m_usStretch = 0;
    CSimClock::Micros m_usWork = 0;
    std::optional<SimReturn> m_nextReturn;
    std::optional<BYTE> m_nextCrcResult;
    SimReturn m_currentReturn;
    SimStart m_eNextStart = SimStart::PowerUp;
    unsigned m_nActive = 0;
    bool m_bFresh = false;
    bool m_bRunsFlash = false;
    bool m_bOnBus = true;
    unsigned m_nEnable = 0;
    bool m_bOtherIsGood = false; ///< the other bank's CRC was read as good, and nothing since
    std::vector<bool> m_erased;  ///< sectors that erased themselves since the enable
    std::shared_ptr<int> m_pEpoch;
};
