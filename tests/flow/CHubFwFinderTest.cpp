#include "flow/CHubFwFinder.h"

#include <gtest/gtest.h>

#include "sim/machine/CSimMachine.h"

namespace
{
class HubImage : public testing::Test
{
protected:
    HubImage()
    {
        m_machine.HostFiles().UseMemory();
        SetCurrentPlatform(&m_machine);
    }
    ~HubImage() override { SetCurrentPlatform(nullptr); }

    CSimMachine m_machine;
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
    std::vector<BYTE> vFw = {1, 2, 3}; // what was loaded before is forgotten
    EXPECT_TRUE(CHubFwFinder("hub.bin").LoadFwbin2Buf(vFw));
    EXPECT_TRUE(vFw == image);
    EXPECT_TRUE(m_machine.Handles().Open().empty());
}

TEST_F(HubImage, EmptyFileFailsLikeAMissingOneAndLeavesTheBuffer)
{
    m_machine.HostFiles().Put("empty.bin", {});
    for (const char* pszPath : {"empty.bin", "missing.bin"}) {
        std::vector<BYTE> vFw = {7};
        EXPECT_FALSE(CHubFwFinder(pszPath).LoadFwbin2Buf(vFw));
        EXPECT_EQ(vFw, std::vector<BYTE>{7});
    }
}

TEST_F(HubImage, FileThatCannotBeReadToItsEndIsNoImage)
{
    m_machine.HostFiles().Put("hub.bin", std::vector<BYTE>(100000, 0x5A));
    m_machine.Faults().FailCall("IHostFiles::Read", 2, 23);
    std::vector<BYTE> vFw = {7};
    EXPECT_FALSE(CHubFwFinder("hub.bin").LoadFwbin2Buf(vFw));
    EXPECT_EQ(vFw, std::vector<BYTE>{7});
    EXPECT_TRUE(m_machine.Handles().Open().empty());
    EXPECT_EQ(m_machine.Faults().Pending(), 0u);
}
} // namespace
