#include "platform/linux/CLinuxFileSystem.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/CLinuxProcess.h"
#include "platform/linux/LinuxError.h"

namespace fs = std::filesystem;

namespace
{
class LinuxFileSystem : public testing::Test
{
protected:
    // The name is not ASCII, to go through wide text and back.
    void SetUp() override
    {
        fs::create_directories(m_folder);
        ::setenv("TMPDIR", m_folder.c_str(), 1);
        WCHAR szFolder[260] = {};
        ASSERT_GT(m_files.TemporaryFolder(szFolder, 260), 0u);
        m_strFlag = WString(szFolder) + WTEXT("\\ZelUpx.flag");
    }
    void TearDown() override
    {
        ::unsetenv("TMPDIR");
        fs::remove_all(m_folder);
    }

    HANDLE OpenFlag()
    {
        return m_files.Open(m_strFlag.c_str(), kGenericRead, kShareAll, kOpenExisting,
                            kAttributeNormal);
    }
    HANDLE MakeFlag(CLinuxFileSystem& files)
    {
        return files.Open(m_strFlag.c_str(), kGenericRead | kGenericWrite | kAccessDelete,
                          kShareAll, kOpenAlways, kAttributeTemporary | kFlagDeleteOnClose);
    }

    CLinuxFileSystem m_files;
    fs::path m_folder = fs::path(testing::TempDir()) / "zelhub-t\xc3\xa4st-\xf0\x9f\x94\x8c";
    WString m_strFlag;
};

TEST_F(LinuxFileSystem, FlagFileThatNobodyLocksIsAbsentAndGoes)
{
    std::ofstream(m_folder / "ZelUpx.flag") << "left by a process that was killed";
    EXPECT_EQ(OpenFlag(), InvalidHandle());
    EXPECT_EQ(ThreadLastError(), kErrFileNotFound);
    EXPECT_FALSE(fs::exists(m_folder / "ZelUpx.flag"));
}

TEST_F(LinuxFileSystem, LastOfTwoHoldersTakesTheFlagFileAlong)
{
    CLinuxFileSystem other; // as another process: locks belong to the open
    const HANDLE hMaker = MakeFlag(m_files);
    EXPECT_TRUE(fs::exists(m_folder / "ZelUpx.flag")) << "backslashes lead to the real folder";
    const HANDLE hJoined = MakeFlag(other);
    ASSERT_NE(hJoined, InvalidHandle());
    m_files.Close(hMaker);
    const HANDLE hProbe = OpenFlag();
    EXPECT_NE(hProbe, InvalidHandle());
    m_files.Close(hProbe);
    other.Close(hJoined);
    EXPECT_FALSE(fs::exists(m_folder / "ZelUpx.flag"));
}

TEST_F(LinuxFileSystem, LinksAreNotFollowed)
{
    std::ofstream(m_folder / "target") << "precious";
    fs::create_symlink(m_folder / "target", m_folder / "ZelUpx.flag");
    EXPECT_EQ(MakeFlag(m_files), InvalidHandle());
    EXPECT_EQ(OpenFlag(), InvalidHandle());
    EXPECT_EQ(
        m_files.Open(m_strFlag.c_str(), kGenericWrite, kShareNone, kCreateAlways, kAttributeNormal),
        InvalidHandle());
    EXPECT_EQ(fs::file_size(m_folder / "target"), 8u);
}

TEST_F(LinuxFileSystem, RelativeTemporaryFolderIsNotTaken)
{
    ::setenv("TMPDIR", "somewhere", 1);
    WCHAR szFolder[260] = {};
    m_files.TemporaryFolder(szFolder, 260);
    EXPECT_EQ(WString(szFolder), WTEXT("\\tmp\\"));
}

// A limit stops the copy in the middle of a block, as a full disk does.
TEST_F(LinuxFileSystem, CopyThatDoesNotFitSaysThatTheDiskIsFull)
{
    std::ofstream(m_folder / "image") << std::string(20000, 'x');
    const WString strFolder = m_strFlag.substr(0, m_strFlag.rfind(WTEXT('\\')) + 1);
    struct rlimit old = {};
    ::getrlimit(RLIMIT_FSIZE, &old);
    const struct rlimit tight = {10000, old.rlim_max};
    auto* const pfnOld = ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &tight);
    FailWith(kErrFileNotFound); // a stale number
    const bool bCopied = m_files.Copy((strFolder + WTEXT("image")).c_str(),
                                      (strFolder + WTEXT("copy")).c_str(), false);
    ::setrlimit(RLIMIT_FSIZE, &old);
    ::signal(SIGXFSZ, pfnOld);
    EXPECT_FALSE(bCopied);
    EXPECT_EQ(ThreadLastError(), kErrDiskFull);
}

TEST_F(LinuxFileSystem, WindowsFolderIsPrivateOrRefused)
{
    WCHAR szFolder[260] = {};
    ASSERT_GT(m_files.WindowsFolder(szFolder, 260), 0u);
    const WString strDriver = WString(szFolder) + WTEXT("\\system32\\drivers\\voport.sys");
    const HANDLE hFile =
        m_files.Open(strDriver.c_str(), kGenericWrite, kShareNone, kCreateAlways, kAttributeNormal);
    EXPECT_NE(hFile, InvalidHandle());
    m_files.Close(hFile);

    const fs::path folder = m_folder / ("zelhub-" + std::to_string(::geteuid()));
    ASSERT_TRUE(fs::is_directory(folder));
    fs::permissions(folder, fs::perms::others_write, fs::perm_options::add);
    EXPECT_EQ(m_files.WindowsFolder(szFolder, 260), 0u);
    EXPECT_EQ(ThreadLastError(), kErrAccessDenied);
    fs::rename(folder, m_folder / "elsewhere");
    fs::create_directory_symlink(m_folder / "elsewhere", folder);
    EXPECT_EQ(m_files.WindowsFolder(szFolder, 260), 0u);
}

TEST_F(LinuxFileSystem, ModuleLoadedByARelativePathIsNamedInFullFromAnotherFolder)
{
    Dl_info info = {};
    ASSERT_NE(::dladdr(::dlsym(RTLD_DEFAULT, "cos"), &info), 0);
    fs::copy_file(info.dli_fname, m_folder / "lib.so");
    const fs::path before = fs::current_path();
    fs::current_path(m_folder);
    void* const pLibrary = ::dlopen("./lib.so", RTLD_NOW | RTLD_LOCAL);
    fs::current_path("/");
    char szPath[1024] = {};
    if (pLibrary != nullptr) {
        CLinuxProcess().ModulePath(::dlsym(pLibrary, "cos"), szPath, sizeof szPath);
        ::dlclose(pLibrary);
    }
    fs::current_path(before);
    EXPECT_EQ(szPath, fs::canonical(m_folder / "lib.so").string());
}
} // namespace
