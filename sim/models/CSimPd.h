#pragma once

#include "sim/models/CSimMisuse.h"
#include "sim/models/CSimPdBanks.h"
#include "sim/models/CSimUsbChip.h"
#include "sim/models/ISimI2cTarget.h"

/// A PD controller on a hub's I2C bus. Its flash lies in four segments of 64 KiB with command
/// bytes of their own; the enable's level is the count of its data bytes (1 for erase and
/// validation, 3 for writes). What it refuses it does not acknowledge; most of that counts as
/// misuse. A reset silences it for a while. The clock must outlive it.
class CSimPd : public ISimI2cTarget
{
public:
    static constexpr BYTE kWriteUnit = 29;
    static constexpr BYTE kReadUnit = 31;

    explicit CSimPd(CSimClock& clock, const SimPdSettings& settings = {});

    SimI2cResult Write(BYTE byCommand, USHORT usOffset, const BYTE* pData, BYTE cb) override;
    SimI2cResult Read(BYTE byCommand, USHORT usOffset, BYTE* pData, BYTE cb) override;

    /// Puts an image into a bank and starts the controller anew.
    void LoadImage(const std::vector<BYTE>& image, unsigned nBank = 0);
    void PowerUp();
    void PowerDown();
    void LosePowerAt(std::uint64_t nFlashOperation, SimPowerCut eWhen = SimPowerCut::Middle);
    std::uint64_t FlashOperations() const { return m_banks.Flash().Operations(); }

    /// Faults by transfer, with the command byte as request, read for a bus: Fail, Stall and
    /// UrbStatus do not acknowledge, TimeOut holds the bus down, Vanish is a power-down.
    SimFaultPlan& Faults() { return m_faults; }
    std::uint64_t Transfers() const { return m_faults.Transfers(); }
    /// From now on every transfer is stretched by this long.
    void SetStretch(CSimClock::Micros us) { m_usStretch = us; }
    /// How resets silence it from now on, and the next reset alone.
    void SetReturn(const SimReturn& ret) { m_return = ret; }
    void SetNextReturn(const SimReturn& ret) { m_nextReturn = ret; }
    CSimMisuse& Misuse() { return m_misuse; }

    // What is inside, for whoever judges from outside.
    CSimPdBanks& Banks() { return m_banks; }
    bool IsOnBus() const { return m_bOnBus; }
    USHORT Version() const { return m_banks.Version(); }
    bool Runs(const std::vector<BYTE>& image) const { return m_banks.Runs(image); }

    /// What outlasts the process when a machine is kept in a file.
    CSimPdBanks::Kept Keep() const { return m_banks.Keep(); }
    void Restore(const CSimPdBanks::Kept& kept, bool bOnBus);

private:
    struct Span
    {
        BYTE byCommand;
        USHORT usOffset;
        BYTE cb;
        std::string Name() const;
    };

    SimI2cResult Serve(const Span& span, BYTE* pIn, const BYTE* pOut);
    SimI2cResult ServeFaulty(const SimFault& fault, const Span& span, BYTE* pIn, const BYTE* pOut);
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

    SimI2cAnswer Misused(const char* pszReason, const Span& span);
    SimI2cAnswer OfVerdict(const SimPdVerdict& verdict, const Span& span);
    void Start(SimStart eStart);
    void Later(CSimClock::Micros us, void (CSimPd::*pfnWhat)());
    void Silence();
    void ComeBack();

    CSimClock& m_clock;
    CSimPdBanks m_banks;
    CSimMisuse m_misuse;
    SimFaultPlan m_faults;
    CSimClock::Micros m_usStretch = 0;
    SimReturn m_return = {5'000, 400'000, false, false};
    std::optional<SimReturn> m_nextReturn;
    SimReturn m_currentReturn;
    SimStart m_eNextStart = SimStart::PowerUp;
    bool m_bOnBus = true;
    std::shared_ptr<int> m_pEpoch; ///< events of an earlier start find theirs gone
};
