#include <cstdlib>
#include <memory>
#include <new>

#include "MsgFixture.h"

namespace
{
thread_local std::size_t t_nAllocations = 0;
}

// Every allocation of this program is counted.
void* operator new(std::size_t nBytes)
{
    ++t_nAllocations;
    if (void* p = std::malloc(nBytes != 0 ? nBytes : 1))
        return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

namespace
{
class CDeaf : public CNotebook
{
public:
    void ShowMsg(const char* pszText, ERRORLEVEL) override
    {
        nBytes += std::string_view(pszText).size();
    }
    void ShowUIMsg(const char* pszText, RESTYPE) override
    {
        nBytes += std::string_view(pszText).size();
    }
    std::size_t nBytes = 0;
};

/// On the real platform: the simulated one allocates for its own books.
TEST(Allocations, NarrowReportsMakeNone)
{
    CMsgBase msg;
    CDeaf deaf;
    msg.Attach(&deaf);
    const std::string strLong(2000, 'x');
    msg.ShowMsg(MSG_INFO, "warm-up", "%d", 1); // the time zone is read once

    const std::size_t nBefore = t_nAllocations;
    msg.ShowMsg(MSG_ERROR, "CUSBDev::Arrive", "%s %S %d 0x%08x %#llx %p %s\n", "text",
                WTEXT("wide \u20ac"), 42, 7u, 1ULL, static_cast<void*>(&msg), strLong.c_str());
    msg.ShowUIMsg(RES_INFO, "%s %S", strLong.c_str(), WTEXT("wide"));
    EXPECT_EQ(t_nAllocations - nBefore, 0u);
    EXPECT_GT(deaf.nBytes, 2000u);

    (void)std::make_unique<int>(); // the count does count
    EXPECT_GT(t_nAllocations, nBefore);
}
} // namespace
