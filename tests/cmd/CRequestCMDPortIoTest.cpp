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

struct ACCESS
{
    const char* pszName;
    DWORD (*pfnDo)(CRequestCMD& cmd);
    int nMapping;
    DWORD dwValue;
    DWORD dwFailed;
    const char* pszDriver;         ///< what the driver did
    std::vector<std::string> says; ///< with success
    const char* pszOperation;      ///< as failures name it
};

DWORD Bits(int n)
{
    return static_cast<DWORD>(n);
}

const std::string kMap0 = "0|CRequestCMD::VoWriteDword64|m_bUseMapping=0\n";
const std::string kMap1 = "0|CRequestCMD::VoWriteDword64|m_bUseMapping=1\n";
const std::string kTo = "0|CRequestCMD::VoWriteDword64|CSmBus::VoWriteDword64(): Write to port ";

const ACCESS kAccesses[] = {
    {"ReadByte32",
     [](CRequestCMD& c) { return Bits(c.VoReadByte32(0x61)); },
     0,
     0xA5,
     0xFFFFFFFF,
     "read port 0x61 1 = 0xA5",
     {},
     "VoReadByte32"},
    {"ReadDword32",
     [](CRequestCMD& c) { return c.VoReadDword32(0xCFC); },
     0,
     0x89ABCDEF,
     0xFFFFFFFF,
     "read port 0xCFC 4 = 0x89ABCDEF",
     {},
     "VoReadDword32"},
    {"WriteByte32",
     [](CRequestCMD& c) { return Bits(c.VoWriteByte32(0x61, 0x7E)); },
     0,
     0x7E,
     0,
     "write port 0x61 1 = 0x7E",
     {"0|CRequestCMD::VoWriteByte32|VoWriteByte32 dwPort=0x61, byData=0x7e\n"},
     "VoWriteByte32"},
    {"WriteDword32",
     [](CRequestCMD& c) { return c.VoWriteDword32(0xCF8, 0x80018940); },
     0,
     0x80018940,
     0,
     "write port 0xCF8 4 = 0x80018940",
     {},
     "VoWriteDword32"},
    {"ReadByte64",
     [](CRequestCMD& c) { return Bits(c.VoReadByte64(0x61)); },
     0,
     0xA5,
     0xFFFFFFFF,
     "read port 0x61 1 = 0xA5",
     {},
     "VoReadByte64"},
    {"ReadByteMapped",
     [](CRequestCMD& c) { return Bits(c.VoReadByte64(0x1FE000061)); },
     1,
     0xA5,
     0xFFFFFFFF,
     "read mapped 0x1FE000061 1 = 0xA5",
     {},
     "VoReadByte64"},
    {"ReadDword64",
     [](CRequestCMD& c) { return c.VoReadDword64(0x100); },
     0,
     0x89ABCDEF,
     0xFFFFFFFF,
     "read port 0x100 4 = 0x89ABCDEF",
     {},
     "VoReadDword64"},
    {"ReadDwordMapped",
     [](CRequestCMD& c) { return c.VoReadDword64(0x1FE000000); },
     1,
     0x89ABCDEF,
     0xFFFFFFFF,
     "read mapped 0x1FE000000 4 = 0x89ABCDEF",
     {},
     "VoReadDword64"},
    {"ConfigDataIsNeverMapped",
     [](CRequestCMD& c) { return c.VoReadDword64(0xCFC); },
     1,
     0x89ABCDEF,
     0xFFFFFFFF,
     "read port 0xCFC 4 = 0x89ABCDEF",
     {},
     "VoReadDword64"},
    {"ReadDwordOfTheConfigAddressIsMapped",
     [](CRequestCMD& c) { return c.VoReadDword64(0xCF8); },
     1,
     0x89ABCDEF,
     0xFFFFFFFF,
     "read mapped 0xCF8 4 = 0x89ABCDEF",
     {},
     "VoReadDword64"},
    {"WriteByte64",
     [](CRequestCMD& c) { return Bits(c.VoWriteByte64(0x61, 5)); },
     0,
     5,
     0,
     "write port 0x61 1 = 0x5",
     {"0|CRequestCMD::VoWriteByte64|VoWriteByte64 qwPort=0x61, byData=0x5\n",
      "0|CRequestCMD::VoWriteByte64|CSmBus::VoWriteByte64(): Write to port 0x00000061 <- 0x05\n"},
     "VoWriteByte64"},
    {"WriteByteMapped",
     [](CRequestCMD& c) { return Bits(c.VoWriteByte64(0x1FE000061, 5)); },
     1,
     5,
     0,
     "write mapped 0x1FE000061 1 = 0x5",
     {"0|CRequestCMD::VoWriteByte64|VoWriteByte64 qwPort=0x1fe000061, byData=0x5\n",
      "0|CRequestCMD::VoWriteByte64|CSmBus::VoWriteByte64(): Write to port 0xFE000061 <- 0x05\n"},
     "VoWriteByte64"},
    {"WriteDword64",
     [](CRequestCMD& c) { return c.VoWriteDword64(0x100, 0xAB); },
     0,
     0xAB,
     0,
     "write port 0x100 4 = 0xAB",
     {kMap0, kTo + "0x00000100 <- 0x000000AB\n"},
     "VoWriteDword64"},
    {"WriteDwordMapped",
     [](CRequestCMD& c) { return c.VoWriteDword64(0x100, 0xAB); },
     1,
     0xAB,
     0,
     "write mapped 0x100 4 = 0xAB",
     {kMap1, kTo + "0x00000100 <- 0x000000AB\n"},
     "VoWriteDword64"},
    {"ConfigAddressIsNeverMapped",
     [](CRequestCMD& c) { return c.VoWriteDword64(0xCF8, 0xAB); },
     1,
     0xAB,
     0,
     "write port 0xCF8 4 = 0xAB",
     {kMap1, kTo + "0x00000CF8 <- 0x000000AB\n"},
     "VoWriteDword64"},
};

class Access : public PortAccess, public testing::WithParamInterface<ACCESS>
{
protected:
    DWORD Do()
    {
        CRequestCMDTestAccess::SetMapping(GetParam().nMapping);
        return GetParam().pfnDo(m_cmd);
    }
    std::string Says(const std::string& strOperation, const std::string& strRest) const
    {
        return std::string("1|CRequestCMD::") + GetParam().pszOperation +
               "|CSmBus::" + strOperation + "(): DeviceIoControl() " + strRest;
    }
};

TEST_P(Access, ReachesTheDriverInItsLayout)
{
    EXPECT_EQ(Do(), GetParam().dwValue);
    EXPECT_THAT(m_machine.PortDriver().Log(), ElementsAre(GetParam().pszDriver));
    EXPECT_THAT(m_machine.PortDriver().Rejections(), IsEmpty());
    EXPECT_EQ(m_log.Lines(), GetParam().says);
}

TEST_P(Access, ReportsAFailedRequestWithItsError)
{
    m_machine.Faults().FailNext("IDeviceFile::Control", 1167);
    EXPECT_EQ(Do(), GetParam().dwFailed);
    EXPECT_EQ(m_log.Lines().back(), Says(GetParam().pszOperation, "FAILED! ==> 1167\n"));
}

TEST_P(Access, TakesNoReadOfAnotherLength)
{
    m_machine.PortDriver().LieAboutLength(3);
    const bool bRead = GetParam().dwFailed != 0;
    EXPECT_EQ(Do(), bRead ? GetParam().dwFailed : GetParam().dwValue);
    if (!bRead)
        return; // a write asks for nothing back
    const std::string strOperation = GetParam().pszOperation;
    const bool bByte = strOperation.find("Byte") != std::string::npos;
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Says(strOperation == "VoReadByte64" ? "VoReadByte3264" : strOperation,
                                 std::string("OK! ==> dwReturnedLength =  3, dwDataLength = ") +
                                     (bByte ? "1\n" : "4\n"))));
}

INSTANTIATE_TEST_SUITE_P(All, Access, testing::ValuesIn(kAccesses),
                         [](const auto& row) { return std::string(row.param.pszName); });

struct DISPATCH
{
    const char* pszCase;
    int nWinNT;
    int nMapping;
    int nWow64;
    std::vector<std::string> driver;
};

const DISPATCH kDispatches[] = {
    {"NotStarted", 0, 0, 0, {}},
    {"Started",
     1,
     0,
     0,
     {"read port 0x61 1 = 0xA5", "read port 0x100 4 = 0x89ABCDEF", "write port 0x61 1 = 0x1",
      "write port 0x100 4 = 0x2"}},
    {"StartedUnderWow64",
     1,
     0,
     1,
     {"read port 0x61 1 = 0xA5", "read port 0x100 4 = 0x89ABCDEF", "write port 0x61 1 = 0x1",
      "write port 0x100 4 = 0x2"}},
    {"MappedUnderWow64",
     0,
     1,
     1,
     {"read mapped 0x61 1 = 0xA5", "read mapped 0x100 4 = 0x89ABCDEF", "write mapped 0x61 1 = 0x1",
      "write mapped 0x100 4 = 0x2"}},
    {"MappingNeedsTheWideLayout",
     0,
     1,
     0,
     {"read port 0x61 1 = 0xA5", "read port 0x100 4 = 0x89ABCDEF", "write port 0x61 1 = 0x1",
      "write port 0x100 4 = 0x2"}},
};

class Dispatch : public PortAccess, public testing::WithParamInterface<DISPATCH>
{};

TEST_P(Dispatch, ChoosesTheLayout)
{
    CRequestCMDTestAccess::SetWinNT(GetParam().nWinNT);
    CRequestCMDTestAccess::SetMapping(GetParam().nMapping);
    CRequestCMDTestAccess::SetWow64(GetParam().nWow64);
    const bool bAny = !GetParam().driver.empty();
    EXPECT_EQ(m_cmd.VoInputByte(0x61), bAny ? 0xA5 : 0);
    EXPECT_EQ(m_cmd.VoInputDword(0x100), bAny ? 0x89ABCDEF : 0u);
    EXPECT_EQ(m_cmd.VoOutputByte(0x61, 1), bAny ? 1 : 0);
    EXPECT_EQ(m_cmd.VoOutputDword(0x100, 2), bAny ? 2u : 0u);
    EXPECT_EQ(m_machine.PortDriver().Log(), GetParam().driver);
    CRequestCMDTestAccess::SetWinNT(1);
}

INSTANTIATE_TEST_SUITE_P(All, Dispatch, testing::ValuesIn(kDispatches),
                         [](const auto& row) { return std::string(row.param.pszCase); });

TEST_F(PortAccess, TheShortLayoutCutsThePortTo32Bits)
{
    EXPECT_EQ(m_cmd.VoInputByte(0x100000061ull), 0xA5);
    EXPECT_THAT(m_machine.PortDriver().Log(), ElementsAre("read port 0x61 1 = 0xA5"));
}
} // namespace
