#pragma once

#include "bench/CBenchMachine.h"
#include "dev/CI2CPdDev.h"
#include "sim/models/CSimPd.h"

/// A PD controller behind the bench's hub, which is open, and a device for it on the same finder.
class CPdBench
{
public:
    static constexpr BYTE kAddress = 0x42;
    static constexpr DWORD kImageSize = 0x20000; ///< a whole bank

    CPdBench();
    CPdBench(const CPdBench&) = delete;
    CPdBench& operator=(const CPdBench&) = delete;
    ~CPdBench();

    CBenchMachine& Bench() { return m_bench; }
    CSimPd& Pd() { return m_pd; }
    CI2CPdDev& Device() { return m_device; }

    /// @return false when the update failed or the model does not run the image afterwards
    bool Update(const std::vector<BYTE>& image);

    static std::vector<BYTE> OldImage();
    static std::vector<BYTE> NewImage();

private:
    CBenchMachine m_bench;
    CSimPd m_pd;
    CI2CPdDev m_device;
};
