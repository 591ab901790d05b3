#include "PlatformContract.h"

#include <fstream>
#include <iterator>

namespace
{
class HostFilesContract : public PlatformContract
{
protected:
    void TearDown() override { Files().Remove(m_strPath.c_str()); }

    IHostFiles& Files() { return m_pPlatform->HostFiles(); }

    void Append(const std::string& strText)
    {
        const HANDLE hFile = Files().OpenForAppending(m_strPath.c_str());
        ASSERT_NE(hFile, InvalidHandle());
        EXPECT_TRUE(Files().Write(hFile, strText.data(), static_cast<DWORD>(strText.size())));
        EXPECT_TRUE(Files().Close(hFile));
    }
    std::string ReadAll()
    {
        const HANDLE hFile = Files().OpenForReading(m_strPath.c_str());
        std::string strAll;
        char block[4];
        DWORD cbDone = 0;
        while (Files().Read(hFile, block, sizeof block, &cbDone) && cbDone != 0)
            strAll.append(block, cbDone);
        EXPECT_TRUE(Files().Close(hFile));
        return strAll;
    }

    // Not ASCII: the path must pass byte for byte.
    std::string m_strPath =
        testing::TempDir() + "zelhub-gr\xc3\xb6\xc3\x9f" + "e-" + GetParam().pszName;
};

TEST_P(HostFilesContract, AppendsBytesAsTheyStandBetweenThoseOfOthers)
{
    const HANDLE hFirst = Files().OpenForAppending(m_strPath.c_str());
    const HANDLE hSecond = Files().OpenForAppending(m_strPath.c_str());
    EXPECT_TRUE(Files().Write(hFirst, "a", 1));
    EXPECT_TRUE(Files().Write(hSecond, "b", 1));
    EXPECT_TRUE(Files().Write(hFirst, "c", 1));
    Files().Close(hFirst);
    Files().Close(hSecond);
    Append("\r\n");
    EXPECT_EQ(ReadAll(), "abc\r\n");
    std::ifstream file(m_strPath, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "abc\r\n");
}

TEST_P(HostFilesContract, MissingFileFailsWith2AndAFolderWith5)
{
    EXPECT_EQ(Files().OpenForReading(m_strPath.c_str()), InvalidHandle());
    EXPECT_EQ(LastError(), kErrFileNotFound);
    SetLastError(0);
    EXPECT_FALSE(Files().Remove(m_strPath.c_str()));
    EXPECT_EQ(LastError(), kErrFileNotFound);
    EXPECT_EQ(Files().OpenForReading(testing::TempDir().c_str()), InvalidHandle());
    EXPECT_EQ(LastError(), kErrAccessDenied);
}

TEST_P(HostFilesContract, StrangeHandleFailsWith6)
{
    BYTE block[4];
    DWORD cbDone = 99;
    EXPECT_FALSE(Files().Read(StrangeHandle(), block, sizeof block, &cbDone));
    EXPECT_EQ(LastError(), kErrInvalidHandle);
    EXPECT_EQ(cbDone, 0u);
    SetLastError(0);
    EXPECT_FALSE(Files().Close(StrangeHandle()));
    EXPECT_EQ(LastError(), kErrInvalidHandle);
}

TEST_P(HostFilesContract, SuccessLeavesTheLastErrorAlone)
{
    SetLastError(4711);
    Append("one");
    EXPECT_EQ(ReadAll(), "one");
    EXPECT_TRUE(Files().Remove(m_strPath.c_str()));
    EXPECT_EQ(LastError(), 4711u);
}

INSTANTIATE_TEST_SUITE_P(Platforms, HostFilesContract, testing::ValuesIn(kPlatforms), PlatformName);
} // namespace
