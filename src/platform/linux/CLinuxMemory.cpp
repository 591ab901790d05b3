#include "platform/linux/CLinuxMemory.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/CDescriptor.h"
#include "platform/linux/LinuxError.h"

namespace
{
/// A stretch of physical memory, mapped.
class CMapping
{
public:
    CMapping(const std::string& strPath, ULONGLONG address, DWORD cb, bool bWrite)
    {
        const CDescriptor memory(
            ::open(strPath.c_str(), (bWrite ? O_RDWR : O_RDONLY) | O_SYNC | O_CLOEXEC));
        const auto cbPage = static_cast<ULONGLONG>(::sysconf(_SC_PAGESIZE));
        const ULONGLONG offset = address % cbPage;
        m_cb = offset + cb;
        if (memory.IsOpen())
            m_pBase = ::mmap(nullptr, m_cb, bWrite ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED,
                             memory.Get(), static_cast<off_t>(address - offset));
        m_dwError = m_pBase == MAP_FAILED ? ErrorFromErrno(errno) : kErrNone;
        m_pStart = static_cast<BYTE*>(m_pBase) + offset;
    }
    CMapping(const CMapping&) = delete;
    CMapping& operator=(const CMapping&) = delete;
    ~CMapping()
    {
        if (m_pBase != MAP_FAILED)
            ::munmap(m_pBase, m_cb);
    }

    DWORD Error() const { return m_dwError; }
    volatile BYTE* Bytes() { return m_pStart; }

    /// The stretch as one word, when it can be one; else null.
    volatile DWORD* Word(DWORD cb)
    {
        if (cb != sizeof(DWORD) || reinterpret_cast<uintptr_t>(m_pStart) % sizeof(DWORD) != 0)
            return nullptr;
        return reinterpret_cast<volatile DWORD*>(m_pStart);
    }

private:
    void* m_pBase = MAP_FAILED;
    BYTE* m_pStart = nullptr;
    ULONGLONG m_cb = 0;
    DWORD m_dwError = kErrNone;
};
} // namespace

DWORD CLinuxMemory::Read(ULONGLONG address, void* pData, DWORD cb) const
{
    CMapping mapping(m_strPath, address, cb, false);
    if (mapping.Error() != kErrNone)
        return mapping.Error();
    if (const volatile DWORD* const pWord = mapping.Word(cb)) {
        const DWORD dwValue = *pWord;
        std::memcpy(pData, &dwValue, sizeof dwValue);
        return kErrNone;
    }
    for (DWORD i = 0; i < cb; ++i)
        static_cast<BYTE*>(pData)[i] = mapping.Bytes()[i];
    return kErrNone;
}

DWORD CLinuxMemory::Write(ULONGLONG address, const void* pData, DWORD cb) const
{
    CMapping mapping(m_strPath, address, cb, true);
    if (mapping.Error() != kErrNone)
        return mapping.Error();
    if (volatile DWORD* const pWord = mapping.Word(cb)) {
        DWORD dwValue = 0;
        std::memcpy(&dwValue, pData, sizeof dwValue);
        *pWord = dwValue;
        return kErrNone;
    }
    for (DWORD i = 0; i < cb; ++i)
        mapping.Bytes()[i] = static_cast<const BYTE*>(pData)[i];
    return kErrNone;
}
