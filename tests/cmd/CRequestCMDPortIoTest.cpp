#include "cmd/PortDriverFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
/// Ports or memory that answer with their address and keep what is written.
class CEchoSpace : public ISimPortSpace
{
public:
    DWORD Read(ULONGLONG /*address*/, unsigned cb) override { return cb == 1 ? 0xA5 : 0x89ABCDEF; }
    void Write(ULONGLONG /*address*/, DWORD /*dwValue*/, unsigned /*cb*/) override {}
};

class PortAccess : public PortDriverTest
{
protected:
    PortAccess()
    {
        m_machine.Ports().Claim(0, 0x10000, &m_echo);
        m_machine.Memory().Claim(0, ~0ull, &m_echo);
        Start();
        m_log.Clear();
        m_machine.PortDriver().ClearLog();
    }
    ~PortAccess() override
    {
        if (CRequestCMDTestAccess::Driver() != nullptr)
            m_cmd.XH_UnInitVoPortDriver();
    }

    CEchoSpace m_echo;
};

DWORD Bits(int n)
{
    return static_cast<DWORD>(n);
}

constexpr ULONGLONG kHigh = 0x1FE000061;

// What the driver did, the access, whether by mapping, and what comes back.
const std::tuple<const char*, DWORD (*)(CRequestCMD& cmd), int, DWORD> kAccesses[] = {
    {"read port 0x61 1 = 0xA5", [](CRequestCMD& c) { return Bits(c.VoReadByte32(0x61)); }, 0, 0xA5},
    {"read port 0xCFC 4 = 0x89ABCDEF", [](CRequestCMD& c) { return c.VoReadDword32(0xCFC); }, 0,
     0x89ABCDEF},
    {"write port 0x61 1 = 0x7E", [](CRequestCMD& c) { return Bits(c.VoWriteByte32(0x61, 0x7E)); },
     0, 0x7E},
    {"write port 0xCF8 4 = 0xAB", [](CRequestCMD& c) { return c.VoWriteDword32(0xCF8, 0xAB); }, 0,
     0xAB},
    {"read port 0x61 1 = 0xA5", [](CRequestCMD& c) { return Bits(c.VoReadByte64(0x61)); }, 0, 0xA5},
    {"read mapped 0x1FE000061 1 = 0xA5", [](CRequestCMD& c) { return Bits(c.VoReadByte64(kHigh)); },
     1, 0xA5},
    {"read port 0x100 4 = 0x89ABCDEF", [](CRequestCMD& c) { return c.VoReadDword64(0x100); }, 0,
     0x89ABCDEF},
    {"read mapped 0x1FE000061 4 = 0x89ABCDEF",
     [](CRequestCMD& c) { return c.VoReadDword64(kHigh); }, 1, 0x89ABCDEF},
    // A read of the configuration's data is never mapped, nor is a write of its address.
    {"read port 0xCFC 4 = 0x89ABCDEF", [](CRequestCMD& c) { return c.VoReadDword64(0xCFC); }, 1,
     0x89ABCDEF},
    {"read mapped 0xCF8 4 = 0x89ABCDEF", [](CRequestCMD& c) { return c.VoReadDword64(0xCF8); }, 1,
     0x89ABCDEF},
    {"write port 0xCF8 4 = 0xAB", [](CRequestCMD& c) { return c.VoWriteDword64(0xCF8, 0xAB); }, 1,
     0xAB},
    {"write port 0x61 1 = 0x5", [](CRequestCMD& c) { return Bits(c.VoWriteByte64(0x61, 5)); }, 0,
     5},
    {"write mapped 0x1FE000061 1 = 0x5",
     [](CRequestCMD& c) { return Bits(c.VoWriteByte64(kHigh, 5)); }, 1, 5},
    {"write port 0x100 4 = 0xAB", [](CRequestCMD& c) { return c.VoWriteDword64(0x100, 0xAB); }, 0,
     0xAB},
    {"write mapped 0x100 4 = 0xAB", [](CRequestCMD& c) { return c.VoWriteDword64(0x100, 0xAB); }, 1,
     0xAB},
};

TEST_F(PortAccess, ReachesTheDriverInItsLayoutAndFailsWithItsSign)
{
    for (const auto& [pszDriver, pfnDo, nMapping, dwValue] : kAccesses) {
        SCOPED_TRACE(std::string(pszDriver) + (nMapping != 0 ? " with mapping" : ""));
        CRequestCMDTestAccess::SetMapping(nMapping);
        const bool bRead = pszDriver[0] == 'r';
        const DWORD dwFailed = bRead ? 0xFFFFFFFF : 0;

        m_machine.PortDriver().ClearLog();
        EXPECT_EQ(pfnDo(m_cmd), dwValue);
        EXPECT_THAT(m_machine.PortDriver().Log(), ElementsAre(pszDriver));
        EXPECT_THAT(m_machine.PortDriver().Rejections(), IsEmpty());

        m_machine.PortDriver().LieAboutLength(3); // a write asks for nothing back
        EXPECT_EQ(pfnDo(m_cmd), bRead ? dwFailed : dwValue);
        m_machine.PortDriver().LieAboutLength(0);

        m_machine.Faults().FailNext("IDeviceFile::Control", 1167);
        EXPECT_EQ(pfnDo(m_cmd), dwFailed);
    }
}

// Whether the driver was started, mapping, WOW64, and the space that is reached.
const std::tuple<const char*, int, int, int, const char*> kDispatches[] = {
    {"not started", 0, 0, 0, nullptr},
    {"started", 1, 0, 0, "port"},
    {"started under WOW64", 1, 0, 1, "port"},
    {"mapped under WOW64", 0, 1, 1, "mapped"},
    {"mapping needs the wide layout", 0, 1, 0, "port"},
};

TEST_F(PortAccess, TheLayoutIsChosenByWhatIsSet)
{
    for (const auto& [pszCase, nWinNT, nMapping, nWow64, pszSpace] : kDispatches) {
        SCOPED_TRACE(pszCase);
        CRequestCMDTestAccess::SetWinNT(nWinNT);
        CRequestCMDTestAccess::SetMapping(nMapping);
        CRequestCMDTestAccess::SetWow64(nWow64);
        m_machine.PortDriver().ClearLog();
        const bool bAny = pszSpace != nullptr;
        EXPECT_EQ(m_cmd.VoInputByte(0x61), bAny ? 0xA5 : 0);
        EXPECT_EQ(m_cmd.VoInputDword(0x100), bAny ? 0x89ABCDEF : 0u);
        EXPECT_EQ(m_cmd.VoOutputByte(0x61, 1), bAny ? 1 : 0);
        EXPECT_EQ(m_cmd.VoOutputDword(0x100, 2), bAny ? 2u : 0u);
        std::vector<std::string> did;
        if (bAny) {
            const std::string strSpace = pszSpace;
            did = {"read " + strSpace + " 0x61 1 = 0xA5",
                   "read " + strSpace + " 0x100 4 = 0x89ABCDEF",
                   "write " + strSpace + " 0x61 1 = 0x1", "write " + strSpace + " 0x100 4 = 0x2"};
        }
        EXPECT_EQ(m_machine.PortDriver().Log(), did);
    }
    CRequestCMDTestAccess::SetWinNT(1);
}

TEST_F(PortAccess, TheShortLayoutCutsThePortTo32Bits)
{
    EXPECT_EQ(m_cmd.VoInputByte(0x100000061ull), 0xA5);
    EXPECT_THAT(m_machine.PortDriver().Log(), ElementsAre("read port 0x61 1 = 0xA5"));
}
} // namespace
