#include "PlatformContract.h"

#include <vector>

namespace
{
constexpr DWORD kFlagAttributes = kAttributeTemporary | kFlagDeleteOnClose;

class FileSystemContract : public PlatformContract
{
protected:
    void SetUp() override
    {
        WCHAR szFolder[260] = {};
        const DWORD cch = Files().TemporaryFolder(szFolder, 260);
        ASSERT_GT(cch, 0u);
        ASSERT_LT(cch, 260u);
        m_strPath = WString(szFolder, cch) + WTEXT("zelhub-contract.tmp");
        m_strOther = WString(szFolder, cch) + WTEXT("zelhub-contract-2.tmp");
        Files().Remove(m_strPath.c_str());
        Files().Remove(m_strOther.c_str());
    }
    void TearDown() override
    {
        Files().Remove(m_strPath.c_str());
        Files().Remove(m_strOther.c_str());
    }

    IFileSystem& Files() { return m_pPlatform->FileSystem(); }

    HANDLE Make(const WString& strPath)
    {
        return Files().Open(strPath.c_str(), kGenericWrite, kShareNone, kCreateAlways,
                            kAttributeNormal);
    }
    HANDLE OpenExisting(const WString& strPath, DWORD dwShare)
    {
        return Files().Open(strPath.c_str(), kGenericRead, dwShare, kOpenExisting,
                            kAttributeNormal);
    }
    HANDLE MakeFlag()
    {
        return Files().Open(m_strPath.c_str(), kGenericRead | kGenericWrite | kAccessDelete,
                            kShareAll, kOpenAlways, kFlagAttributes);
    }
    void Put(const WString& strPath, const std::string& strText)
    {
        const HANDLE hFile = Make(strPath);
        ASSERT_NE(hFile, InvalidHandle());
        DWORD cbDone = 0;
        EXPECT_TRUE(
            Files().Write(hFile, strText.data(), static_cast<DWORD>(strText.size()), &cbDone));
        EXPECT_EQ(cbDone, strText.size());
        EXPECT_TRUE(Files().Close(hFile));
    }
    DWORD SizeOf(const WString& strPath)
    {
        const HANDLE hFile = OpenExisting(strPath, kShareRead);
        if (hFile == InvalidHandle())
            return 0xFFFFFFFF;
        const DWORD cb = Files().Size(hFile);
        Files().Close(hFile);
        return cb;
    }

    WString m_strPath;
    WString m_strOther;
};

TEST_P(FileSystemContract, TemporaryFolderEndsInABackslash)
{
    WCHAR szFolder[260] = {};
    const DWORD cch = Files().TemporaryFolder(szFolder, 260);
    ASSERT_GT(cch, 0u);
    EXPECT_EQ(szFolder[cch - 1], WTEXT('\\'));
    EXPECT_EQ(szFolder[cch], 0);
    EXPECT_EQ(Files().TemporaryFolder(szFolder, 1), cch + 1) << "with its terminator";
}

TEST_P(FileSystemContract, MissingFileFailsWith2AndAStrangeHandleWith6)
{
    EXPECT_EQ(OpenExisting(m_strPath, kShareRead), InvalidHandle());
    EXPECT_EQ(LastError(), kErrFileNotFound);
    EXPECT_EQ(Files().Attributes(m_strPath.c_str()), kInvalidAttributes);
    EXPECT_EQ(LastError(), kErrFileNotFound);
    SetLastError(0);
    EXPECT_FALSE(Files().Remove(m_strPath.c_str()));
    EXPECT_EQ(LastError(), kErrFileNotFound);
    EXPECT_FALSE(Files().Close(StrangeHandle()));
    EXPECT_EQ(LastError(), kErrInvalidHandle);
}

TEST_P(FileSystemContract, WhatWasWrittenIsThereAndMakingItAgainEmptiesIt)
{
    Put(m_strPath, "driver");
    EXPECT_EQ(SizeOf(m_strPath), 6u);
    Put(m_strPath, "");
    EXPECT_EQ(SizeOf(m_strPath), 0u);
}

TEST_P(FileSystemContract, SuccessLeavesTheLastErrorAlone)
{
    SetLastError(4711);
    Put(m_strPath, "driver");
    EXPECT_EQ(SizeOf(m_strPath), 6u);
    EXPECT_TRUE(Files().Copy(m_strPath.c_str(), m_strOther.c_str(), false));
    EXPECT_TRUE(Files().Remove(m_strPath.c_str()));
    EXPECT_EQ(LastError(), 4711u);
}

TEST_P(FileSystemContract, FoldersAreToldFromFiles)
{
    WCHAR szFolder[260] = {};
    const DWORD cch = Files().TemporaryFolder(szFolder, 260);
    szFolder[cch - 1] = 0;
    Put(m_strPath, "x");
    EXPECT_NE(Files().Attributes(szFolder) & kAttributeDirectory, 0u);
    EXPECT_EQ(Files().Attributes(m_strPath.c_str()) & kAttributeDirectory, 0u);
    EXPECT_EQ(OpenExisting(szFolder, kShareRead), InvalidHandle());
    EXPECT_EQ(LastError(), kErrAccessDenied);
}

TEST_P(FileSystemContract, CopyReplacesUnlessToldNotTo)
{
    Put(m_strPath, "new");
    Put(m_strOther, "older");
    EXPECT_FALSE(Files().Copy(m_strPath.c_str(), m_strOther.c_str(), true));
    EXPECT_EQ(LastError(), kErrFileExists);
    EXPECT_EQ(SizeOf(m_strOther), 5u);
    EXPECT_TRUE(Files().Copy(m_strPath.c_str(), m_strOther.c_str(), false));
    EXPECT_EQ(SizeOf(m_strOther), 3u);
}

TEST_P(FileSystemContract, FlagFileLivesAsLongAsOneHolder)
{
    const HANDLE hMaker = MakeFlag();
    ASSERT_NE(hMaker, InvalidHandle());
    const HANDLE hSecond = OpenExisting(m_strPath, kShareAll);
    ASSERT_NE(hSecond, InvalidHandle());
    EXPECT_TRUE(Files().Close(hSecond));
    const HANDLE hThird = OpenExisting(m_strPath, kShareAll);
    EXPECT_NE(hThird, InvalidHandle()) << "its maker still holds it";
    Files().Close(hThird);
    EXPECT_TRUE(Files().Close(hMaker));
    EXPECT_EQ(OpenExisting(m_strPath, kShareAll), InvalidHandle());
    EXPECT_EQ(LastError(), kErrFileNotFound);
    EXPECT_EQ(Files().Attributes(m_strPath.c_str()), kInvalidAttributes);
}

TEST_P(FileSystemContract, FileWithoutVersionReportsNone)
{
    Put(m_strPath, "no resource here");
    EXPECT_EQ(Files().VersionSize(m_strPath.c_str()), 0u);
    BYTE block[64] = {};
    EXPECT_FALSE(Files().ReadVersion(m_strPath.c_str(), sizeof block, block));
}

INSTANTIATE_TEST_SUITE_P(Platforms, FileSystemContract, testing::ValuesIn(kPlatforms),
                         PlatformName);
} // namespace
