#include "sim/machine/CSimAddressSpace.h"

void CSimAddressSpace::Claim(ULONGLONG first, ULONGLONG count, ISimPortSpace* pModel)
{
    m_ranges.insert(m_ranges.begin(), {first, count, pModel});
}

DWORD CSimAddressSpace::Read(ULONGLONG address, unsigned cb)
{
    if (m_hook)
        m_hook();
    if (ISimPortSpace* const pModel = ModelAt(address))
        return pModel->Read(address, cb);
    DWORD dwValue = 0;
    for (unsigned i = 0; i < cb; ++i) {
        const DWORD dwByte = m_bKeepsBytes ? ByteAt(address + i) : 0xFF;
        dwValue |= dwByte << (8 * i);
    }
    return dwValue;
}

void CSimAddressSpace::Write(ULONGLONG address, DWORD dwValue, unsigned cb)
{
    if (m_hook)
        m_hook();
    if (ISimPortSpace* const pModel = ModelAt(address))
        pModel->Write(address, dwValue, cb);
    else if (m_bKeepsBytes)
        for (unsigned i = 0; i < cb; ++i)
            m_bytes[address + i] = static_cast<BYTE>(dwValue >> (8 * i));
}

BYTE CSimAddressSpace::ByteAt(ULONGLONG address) const
{
    const auto it = m_bytes.find(address);
    return it == m_bytes.end() ? BYTE{0} : it->second;
}

ISimPortSpace* CSimAddressSpace::ModelAt(ULONGLONG address) const
{
    for (const Range& range : m_ranges)
        if (address >= range.first && address - range.first < range.count)
            return range.pModel;
    return nullptr;
}
