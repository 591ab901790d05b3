#include "bench/CHeapMeter.h"

#include <cstdlib>
#include <new>

namespace
{
std::size_t g_nInUse = 0;
std::size_t g_nPeak = 0;

// In front of every block: its size, in the room that keeps the block aligned.
constexpr std::size_t kHead = alignof(std::max_align_t);

void* Allocate(std::size_t n)
{
    void* const pBlock = std::malloc(n + kHead);
    if (pBlock == nullptr)
        throw std::bad_alloc();
    *static_cast<std::size_t*>(pBlock) = n;
    g_nInUse += n;
    if (g_nInUse > g_nPeak)
        g_nPeak = g_nInUse;
    return static_cast<char*>(pBlock) + kHead;
}

void Release(void* p) noexcept
{
    if (p == nullptr)
        return;
    void* const pBlock = static_cast<char*>(p) - kHead;
    g_nInUse -= *static_cast<std::size_t*>(pBlock);
    std::free(pBlock);
}
} // namespace

void* operator new(std::size_t n)
{
    return Allocate(n);
}
void* operator new[](std::size_t n)
{
    return Allocate(n);
}
void operator delete(void* p) noexcept
{
    Release(p);
}
void operator delete[](void* p) noexcept
{
    Release(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    Release(p);
}
void operator delete[](void* p, std::size_t) noexcept
{
    Release(p);
}

CHeapMeter::CHeapMeter() : m_nAtStart(g_nInUse)
{
    g_nPeak = g_nInUse;
}

std::size_t CHeapMeter::Peak() const
{
    return g_nPeak - m_nAtStart;
}
