#pragma once

#include "sim/models/ISimPortSpace.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

/// An address range shared out between models. Unclaimed ports read all ones and swallow
/// writes; unclaimed memory keeps the bytes that were written (0 at first).
class CSimAddressSpace : public ISimPortSpace
{
public:
    explicit CSimAddressSpace(bool bKeepsBytes) : m_bKeepsBytes(bKeepsBytes) {}

    /// Gives [first, first + count) to a model (not owned); a later claim goes first.
    void Claim(ULONGLONG first, ULONGLONG count, ISimPortSpace* pModel);

    /// Called before each access; lets the access's time pass.
    void SetAccessHook(std::function<void()> hook) { m_hook = std::move(hook); }

    DWORD Read(ULONGLONG address, unsigned cb) override;
    void Write(ULONGLONG address, DWORD dwValue, unsigned cb) override;

    /// Plain bytes of unclaimed memory, for tests.
    void PutByte(ULONGLONG address, BYTE byValue) { m_bytes[address] = byValue; }
    BYTE ByteAt(ULONGLONG address) const;
    const std::map<ULONGLONG, BYTE>& Bytes() const { return m_bytes; } ///< those written so far

private:
    struct Range
    {
        ULONGLONG first;
        ULONGLONG count;
        ISimPortSpace* pModel;
    };

    ISimPortSpace* ModelAt(ULONGLONG address) const;

    bool m_bKeepsBytes;
    std::vector<Range> m_ranges;
    std::map<ULONGLONG, BYTE> m_bytes;
    std::function<void()> m_hook;
};
