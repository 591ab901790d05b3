#pragma once

#include "sim/models/CSimClock.h"

#include "platform/Types.h"

#include <optional>
#include <vector>

/// What came of an operation on flash.
enum class SimFlashResult
{
    Done,
    WouldSetBits, ///< programming can only clear bits; nothing was changed
    OutOfRange,   ///< nothing was changed
    RunningBank,  ///< code runs from there; nothing was changed
    PowerLost     ///< the power failed before, in the middle of or after it
};

/// When within a flash operation the power fails.
enum class SimPowerCut
{
    Before,
    Middle, ///< half of the bytes are done, the one between them partly
    After
};

/// NOR flash: erasing sets a sector to 0xFF, programming clears bits. Every program and erase
/// call is one operation, counted from 0. Time is added up for the owner to spend.
class CSimFlash
{
public:
    static constexpr DWORD kSectorSize = 4096;
    static constexpr DWORD kPageSize = 256;
    static constexpr CSimClock::Micros kPageProgramMicros = 400;
    static constexpr CSimClock::Micros kSectorEraseMicros = 3000;

    explicit CSimFlash(DWORD cb) : m_bytes(cb, 0xFF) {}

    /// Programs cb bytes; the same data again is accepted and costs no programming time.
    SimFlashResult Program(DWORD dwAddr, const BYTE* pData, DWORD cb);

    /// Erases whole sectors from dwAddr on, as one operation.
    SimFlashResult Erase(DWORD dwAddr, DWORD cb);

    const std::vector<BYTE>& Bytes() const { return m_bytes; }
    DWORD Size() const { return static_cast<DWORD>(m_bytes.size()); }

    /// What a programmer on a desk does: no rules, no count, no time.
    void Load(DWORD dwAddr, const BYTE* pData, DWORD cb);

    std::uint64_t Operations() const { return m_nOperations; }

    /// The power fails once, at operation n (counted from the first ever).
    void LosePowerAt(std::uint64_t n, SimPowerCut eWhen) { m_cut = Cut{n, eWhen}; }
    void KeepPower() { m_cut.reset(); }

    /// The time that operations have taken since this was asked last.
    CSimClock::Micros TakeTime();

private:
    struct Cut
    {
        std::uint64_t n;
        SimPowerCut eWhen;
    };

    std::optional<SimPowerCut> Count();
    bool Inside(DWORD dwAddr, DWORD cb) const;

    std::vector<BYTE> m_bytes;
    std::uint64_t m_nOperations = 0;
    std::optional<Cut> m_cut;
    CSimClock::Micros m_usTaken = 0;
};
