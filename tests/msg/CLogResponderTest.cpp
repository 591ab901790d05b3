#include "msg/CLogResponder.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "MsgFixture.h"

namespace
{
class LogFile : public MsgTest
{
protected:
    LogFile() { m_machine.Traits().modulePath = "/opt/zel/libZelhublib64.so"; }

    std::string Log(const char* pszPath = "/opt/zel/info.txt")
    {
        return m_machine.HostFiles().Text(pszPath);
    }
};

TEST_F(LogFile, LiesBesideTheLibraryAndIsOpenOnlyWhileALineIsWritten)
{
    CLogResponder log;
    EXPECT_EQ(m_machine.HostFiles().Data("/opt/zel/info.txt"), nullptr);
    log.ShowMsg("40%\r", MSG_INFO);
    log.ShowMsg("no end", MSG_INFO);
    log.ShowMsg(", goes on\n", MSG_INFO);
    EXPECT_EQ(Log(), "40%\rno end, goes on\n");
    EXPECT_TRUE(m_machine.Handles().Open().empty());
}

TEST_F(LogFile, ThresholdKeepsLowerLevelsOut)
{
    CLogResponder log;
    log.ShowMsg("a", MSG_INFO);
    log.SetMsgLevel(MSG_FAIL);
    log.ShowMsg("b", MSG_INFO);
    log.ShowMsg("c", MSG_FAIL);
    log.ShowMsg("d", static_cast<ERRORLEVEL>(2));
    log.ShowMsg("e", MSG_ERROR);
    EXPECT_EQ(Log(), "acde");
}

TEST_F(LogFile, RecordsNothingButMessages)
{
    CLogResponder log;
    log.ShowUIMsg("result", RES_SUCCESS);
    log.CountDown("wait", 3, MSG_ERROR);
    log.ShowProgress(50);
    EXPECT_EQ(m_machine.HostFiles().Data("/opt/zel/info.txt"), nullptr);
}

TEST_F(LogFile, PathIsCutBehindTheSystemsSeparator)
{
    const std::tuple<const char*, char, const char*> cases[] = {
        {"/opt/a\\b/lib.so", '/', "/opt/a\\b/info.txt"},
        {"C:\\zel\\Zelhublib64.dll", '\\', "C:\\zel\\info.txt"},
        {"lib.so", '/', "lib.soinfo.txt"}, // without a separator it stays whole
    };
    for (const auto& [pszModule, chSeparator, pszLog] : cases) {
        m_machine.Traits().modulePath = pszModule;
        m_machine.HostFiles().SetSeparator(chSeparator);
        CLogResponder().ShowMsg("x", MSG_INFO);
        EXPECT_EQ(Log(pszLog), "x") << pszModule;
    }
}

TEST_F(LogFile, PathOf259BytesFitsAndOneMoreIsFatal)
{
    const std::string strFolder = "/" + std::string(249, 'd') + "/"; // 251, and 8 for the name
    m_machine.Traits().modulePath = strFolder + "lib.so";
    CLogResponder().ShowMsg("x", MSG_INFO);
    EXPECT_EQ(Log((strFolder + "info.txt").c_str()), "x");

    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const std::size_t nMore : {1u, 1000u}) { // the second is too long to be asked for
        m_machine.Traits().modulePath = "/" + std::string(nMore, 'd') + strFolder.substr(1) + "lib";
        EXPECT_DEATH(CLogResponder(), "log path too long") << nMore;
    }
}

TEST_F(LogFile, CopyHasThresholdAndPathAndAStreamOfItsOwn)
{
    CLogResponder log;
    log.SetMsgLevel(MSG_FAIL);
    CLogResponder copy(log);
    m_machine.Traits().modulePath = "/elsewhere/lib.so";
    CLogResponder assigned;
    assigned = log;
    copy.ShowMsg("low", MSG_INFO);
    copy.ShowMsg("copy ", MSG_FAIL);
    assigned.ShowMsg("assigned ", MSG_FAIL);
    log.ShowMsg("first", MSG_FAIL);
    EXPECT_EQ(Log(), "copy assigned first");
}

TEST_F(LogFile, SelfModulePathIsWholeAndItsFailureIsSeen)
{
    char szPath[1024] = {};
    EXPECT_TRUE(CLogResponder::GetSelfModulePath(szPath));
    EXPECT_STREQ(szPath, "/opt/zel/libZelhublib64.so");
    m_machine.Traits().modulePath = std::string(1024, 'x');
    EXPECT_FALSE(CLogResponder::GetSelfModulePath(szPath));
}

TEST(RealLogFile, ReadOnlyFolderLosesLinesSilentlyAndTheNextLineTriesAgain)
{
    // A folder in the file's place cannot be opened, whoever asks.
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "zelhub-log";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder / "info.txt");
    CSimMachine machine;
    machine.Traits().modulePath = (folder / "lib.so").string();
    SetCurrentPlatform(&machine);
    CLogResponder log;
    log.ShowMsg("lost\n", MSG_ERROR);
    std::filesystem::remove(folder / "info.txt");
    log.ShowMsg("kept\n", MSG_ERROR);
    SetCurrentPlatform(nullptr);
    std::ifstream file(folder / "info.txt", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "kept\n");
    file.close(); // some systems remove no open file
    std::filesystem::remove_all(folder);
}
} // namespace
