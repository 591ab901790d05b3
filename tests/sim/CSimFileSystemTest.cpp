#include "sim/CSimMachine.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
constexpr const WCHAR* kFlag = WTEXT("C:\\Temp\\\\ZelUpx.flag"); // doubled, as composed paths are
constexpr const WCHAR* kFile = WTEXT("C:\\Temp\\a.sys");

class FileSystem : public testing::Test
{
protected:
    HANDLE MakeFlag(CSimMachine& machine)
    {
        return machine.FileSystem().Open(kFlag, kGenericRead | kGenericWrite | kAccessDelete,
                                         kShareAll, kOpenAlways,
                                         kAttributeTemporary | kFlagDeleteOnClose);
    }
    HANDLE OpenFlag(CSimMachine& machine)
    {
        return machine.FileSystem().Open(kFlag, kGenericRead, kShareAll, kOpenExisting,
                                         kAttributeNormal);
    }

    CSimMachine m_first;
    CSimMachine m_second{m_first.System()};
    CSimFileSystem& m_files = m_first.FileSystem();
};

TEST_F(FileSystem, LosesTheFlagFileWithItsLastHolder)
{
    const HANDLE hFirst = MakeFlag(m_first);
    const HANDLE hSecond = OpenFlag(m_second);
    ASSERT_NE(hSecond, InvalidHandle());
    m_second.FileSystem().Close(hSecond);
    EXPECT_NE(OpenFlag(m_second), InvalidHandle()) << "its maker still holds it";

    m_files.Close(hFirst);
    EXPECT_EQ(OpenFlag(m_first), InvalidHandle());
    EXPECT_EQ(m_first.Process().LastError(), kErrAccessDenied) << "deletion is pending";
    m_second.Handles().CloseAll();
    EXPECT_EQ(OpenFlag(m_first), InvalidHandle());
    EXPECT_EQ(m_first.Process().LastError(), kErrFileNotFound);
}

TEST_F(FileSystem, LosesTheFlagFileWhenItsProcessEnds)
{
    {
        CSimMachine third(m_first.System());
        MakeFlag(third);
        EXPECT_TRUE(m_first.Volume().Exists(kFlag));
    }
    EXPECT_FALSE(m_first.Volume().Exists(kFlag));
}

struct Sharing
{
    const char* pszCase;
    DWORD dwFirstAccess;
    DWORD dwFirstShare;
    DWORD dwSecondAccess;
    DWORD dwSecondShare;
    bool bOpens;
};

const Sharing kSharings[] = {
    {"ReadersTogether", kGenericRead, kShareRead, kGenericRead, kShareRead, true},
    {"WriterAlone", kGenericWrite, kShareNone, kGenericRead, kShareAll, false},
    {"ReaderShutsOutWriter", kGenericRead, kShareRead, kGenericWrite, kShareAll, false},
    {"SecondMustShareToo", kGenericWrite, kShareAll, kGenericRead, kShareRead, false},
    {"DeleterNeedsShareDelete", kAccessDelete, kShareAll, kGenericRead, kShareRead, false},
    {"AllShareAll", kGenericWrite, kShareAll, kGenericRead | kGenericWrite, kShareAll, true},
};

class FileSharing : public FileSystem, public testing::WithParamInterface<Sharing>
{};

TEST_P(FileSharing, FollowsTheSystemsRule)
{
    m_first.Volume().Put(kFile, {1});
    m_files.Open(kFile, GetParam().dwFirstAccess, GetParam().dwFirstShare, kOpenExisting, 0);
    const HANDLE h = m_second.FileSystem().Open(kFile, GetParam().dwSecondAccess,
                                                GetParam().dwSecondShare, kOpenExisting, 0);
    EXPECT_EQ(h != InvalidHandle(), GetParam().bOpens);
    EXPECT_EQ(m_second.Process().LastError(), GetParam().bOpens ? 0u : kErrSharingViolation);
}

INSTANTIATE_TEST_SUITE_P(Every, FileSharing, testing::ValuesIn(kSharings),
                         [](const auto& entry) { return std::string(entry.param.pszCase); });

TEST_F(FileSystem, FindsTheVersionInTheBytesThatWereWritten)
{
    const std::vector<BYTE> image = CSimVolume::VersionedImage(5000, 1, 2, 3, 4);
    const HANDLE h = m_files.Open(kFile, kGenericWrite, 0, kCreateAlways, 0);
    DWORD cbDone = 0;
    ASSERT_TRUE(m_files.Write(h, image.data(), 4990, &cbDone));
    EXPECT_EQ(m_files.VersionSize(kFile), 0u) << "the version block is cut";
    ASSERT_TRUE(m_files.Write(h, image.data() + 4990, 10, &cbDone));
    EXPECT_EQ(m_files.Size(h), 5000u);
    m_files.Close(h);

    std::vector<BYTE> block(m_files.VersionSize(kFile));
    ASSERT_TRUE(m_files.ReadVersion(kFile, static_cast<DWORD>(block.size()), block.data()));
    const FIXED_FILE_INFO* pInfo = nullptr;
    ASSERT_TRUE(m_files.QueryRootVersion(block.data(), &pInfo));
    EXPECT_EQ(pInfo->dwFileVersionMS, 0x00010002u);
    EXPECT_EQ(pInfo->dwFileVersionLS, 0x00030004u);
}

TEST_F(FileSystem, RunsFull)
{
    m_first.Volume().SetFreeBytes(3);
    const HANDLE h = m_files.Open(kFile, kGenericWrite, 0, kCreateAlways, 0);
    DWORD cbDone = 0;
    EXPECT_FALSE(m_files.Write(h, "abcde", 5, &cbDone));
    EXPECT_EQ(m_first.Process().LastError(), kErrDiskFull);
    EXPECT_EQ(cbDone, 3u);
}

TEST_F(FileSystem, SendsA32BitProcessToItsOwnSystemFolder)
{
    m_first.Traits().wProcessMachine = 0x014C;
    const WCHAR* const pszDriver = WTEXT("C:\\Windows\\System32\\drivers\\x.sys");
    m_first.Volume().Put(pszDriver, {1});
    EXPECT_EQ(m_files.Attributes(pszDriver), kInvalidAttributes);
    void* pOld = nullptr;
    ASSERT_TRUE(m_first.Process().DisableRedirection(&pOld));
    EXPECT_EQ(m_files.Attributes(pszDriver), kAttributeNormal);
    ASSERT_TRUE(m_first.Process().RevertRedirection(pOld));
    EXPECT_TRUE(m_first.Process().IsRedirected());
}

TEST_F(FileSystem, TellsWhatIsMissing)
{
    m_files.Open(WTEXT("C:\\Temp\\none"), kGenericRead, 0, kOpenExisting, 0);
    EXPECT_EQ(m_first.Process().LastError(), kErrFileNotFound);
    m_files.Open(WTEXT("C:\\Nowhere\\none"), kGenericWrite, 0, kCreateAlways, 0);
    EXPECT_EQ(m_first.Process().LastError(), kErrPathNotFound);
    EXPECT_EQ(m_files.Attributes(WTEXT("C:\\Temp\\")), kAttributeDirectory);
    EXPECT_FALSE(m_files.Remove(WTEXT("C:\\Temp\\none")));
    WCHAR folder[4];
    EXPECT_EQ(m_files.TemporaryFolder(folder, 4), 9u);
}
} // namespace
