#include "flow/CHubFwFinder.h"

#include <gtest/gtest.h>

#include "sim/CSimMachine.h"
#include "support/CMessageLog.h"

namespace
{
using Lines = std::vector<std::string>;

class HubImage : public testing::Test
{
protected:
    HubImage()
    {
        m_machine.HostFiles().UseMemory();
        SetCurrentPlatform(&m_machine);
    }
    ~HubImage() override { SetCurrentPlatform(nullptr); }

    static Lines LoadLines(const std::string& strPath, const char* pszResult)
    {
        return {"0|CHubFwFinder::LoadFwbin2Buf|Current fw path is " + strPath + ".\n", pszResult};
    }

    CSimMachine m_machine;
    CMessageLog m_log;
    const char* const m_pszDone = "0|CHubFwFinder::LoadFwbin2Buf|load fw to buf return success.\n";
    const char* const m_pszFailed = "1|CHubFwFinder::LoadFwbin2Buf|load fw to buf return failed.\n";
};

TEST_F(HubImage, IsEveryByteOfTheFile)
{
    // More than one block, and bytes that text mode would change.
    std::vector<BYTE> image(200001);
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<BYTE>(i * 7 + i / 256);
    image[10] = 0x1A;
    image[11] = '\r';
    image[12] = '\n';
    m_machine.HostFiles().Put("hub.bin", image);
    std::vector<BYTE> vFw = {1, 2, 3};
    EXPECT_TRUE(CHubFwFinder("hub.bin").LoadFwbin2Buf(vFw));
    EXPECT_TRUE(vFw == image);
    EXPECT_EQ(m_log.Lines(), LoadLines("hub.bin", m_pszDone));
    EXPECT_TRUE(m_machine.Handles().Open().empty());
}

TEST_F(HubImage, LoadedTwiceIsTheSecondFile)
{
    m_machine.HostFiles().Put("a", {1, 2, 3});
    m_machine.HostFiles().Put("b", {9});
    std::vector<BYTE> vFw;
    EXPECT_TRUE(CHubFwFinder("a").LoadFwbin2Buf(vFw));
    EXPECT_TRUE(CHubFwFinder("b").LoadFwbin2Buf(vFw));
    EXPECT_EQ(vFw, std::vector<BYTE>{9});
}

TEST_F(HubImage, EmptyFileFailsLikeAMissingOneAndLeavesTheBuffer)
{
    m_machine.HostFiles().Put("empty.bin", {});
    for (const char* pszPath : {"empty.bin", "missing.bin"}) {
        m_log.Clear();
        std::vector<BYTE> vFw = {7};
        EXPECT_FALSE(CHubFwFinder(pszPath).LoadFwbin2Buf(vFw));
        EXPECT_EQ(vFw, std::vector<BYTE>{7});
        EXPECT_EQ(m_log.Lines(), LoadLines(pszPath, m_pszFailed));
    }
}

TEST_F(HubImage, FileThatCannotBeReadToItsEndIsNoImage)
{
    m_machine.HostFiles().Put("hub.bin", std::vector<BYTE>(100000, 0x5A));
    m_machine.Faults().FailCall("IHostFiles::Read", 2, 23);
    std::vector<BYTE> vFw = {7};
    EXPECT_FALSE(CHubFwFinder("hub.bin").LoadFwbin2Buf(vFw));
    EXPECT_EQ(vFw, std::vector<BYTE>{7});
    EXPECT_EQ(m_log.Lines(), LoadLines("hub.bin", m_pszFailed));
    EXPECT_TRUE(m_machine.Handles().Open().empty());
    EXPECT_EQ(m_machine.Faults().Pending(), 0u);
}
} // namespace
