#pragma once

#include "sim/machine/CSimSystem.h"

#include <memory>
#include <vector>

/// The process behind a request, reached from the driver's own: its memory is copied in, and
/// copied back where the request has changed it.
class CBenchCaller : public ISimDriverCaller
{
public:
    CBenchCaller(CSimSystem& system, DWORD dwProcess);
    CBenchCaller(const CBenchCaller&) = delete;
    CBenchCaller& operator=(const CBenchCaller&) = delete;
    ~CBenchCaller() override;

    std::shared_ptr<ISimUsbDevice> DeviceBehind(ULONGLONG fileHandle) override;
    void* Memory(ULONGLONG address, size_t cb) override;

    /// Copies back what changed. @return false when the caller's memory is no longer there
    bool CopyBack();

private:
    struct Range
    {
        ULONGLONG address;
        std::vector<BYTE> before;
        std::vector<BYTE> now;
    };

    CSimSystem& m_system;
    HANDLE m_hProcess;
    std::vector<std::unique_ptr<Range>> m_ranges;
};
