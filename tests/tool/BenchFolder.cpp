#include "tool/BenchFolder.h"

#include "tools/zelhub/BenchFlashText.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

CBenchFolder::CBenchFolder()
{
    std::random_device random;
    m_strFolder = testing::TempDir() + "zelhub-" + std::to_string(random());
    if (!std::filesystem::create_directory(m_strFolder))
        throw std::runtime_error("no temporary folder");
}

CBenchFolder::~CBenchFolder()
{
    std::error_code error;
    std::filesystem::remove_all(m_strFolder, error);
}

std::string CBenchFolder::Write(const std::string& strName, const std::string& strText) const
{
    std::ofstream(Path(strName), std::ios::binary) << strText;
    return Path(strName);
}

std::string CBenchFolder::Write(const std::string& strName, const std::vector<BYTE>& bytes) const
{
    return Write(strName, std::string(bytes.begin(), bytes.end()));
}

std::string CBenchFolder::ReadFile(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<BYTE> CBenchFolder::ReadBytes(const std::string& strName) const
{
    const std::string strText = ReadText(strName);
    return {strText.begin(), strText.end()};
}

void CBenchFolder::UseBench(const std::string& strJson)
{
    m_strBench = Write("bench.json", strJson);
    std::filesystem::remove(Path("state"));
}

void CBenchFolder::UseExample(const char* pszName)
{
    m_strBench = std::string(ZELHUB_SOURCE_DIR) + "/examples/" + pszName;
    std::filesystem::remove(Path("state"));
}

void CBenchFolder::UseHub(const std::string& strMore, const std::string& strFlash,
                          const std::string& strFile)
{
    UseBench(R"({"schema": 1, "controllers": [{"id": "xhci"}], "hubs": [
        {"id": "hub", "parent": "xhci", "port": 1, "instance": 11,
         "flash": {"size": 65536, "image": {"version": "0x0100"})" +
             strFlash + "}" + strMore + "}]" + strFile + "}");
}

std::string CBenchFolder::Image(const char* pszVersion, const std::vector<std::string>& more) const
{
    const std::string strPath = Path(std::string(pszVersion) + ".bin");
    std::vector<std::string> arguments = {"bench",       "image",     strPath,
                                          "--overwrite", "--version", pszVersion};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(RunTool(arguments).nExit, 0);
    return strPath;
}

std::vector<std::string> CBenchFolder::Arguments(const std::vector<std::string>& arguments) const
{
    std::vector<std::string> all = {"--bench", m_strBench, "--bench-state", Path("state")};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}

ToolResult CBenchFolder::Run(const std::vector<std::string>& arguments) const
{
    return RunTool(Arguments(arguments));
}

nlohmann::json CBenchFolder::HubState(const std::string& strId) const
{
    const nlohmann::json state = nlohmann::json::parse(ReadText("state"), nullptr, false);
    if (!state.is_discarded())
        for (const nlohmann::json& hub : state["hubs"])
            if (hub["id"] == strId)
                return hub;
    ADD_FAILURE() << "no state of hub " << strId;
    return {};
}

bool CBenchFolder::Runs(const std::string& strImage, const std::string& strId) const
{
    const nlohmann::json hub = HubState(strId);
    if (hub["onBus"] != true)
        return false;
    const std::vector<BYTE> flash = FlashOf(hub);
    std::ifstream file(strImage, std::ios::binary);
    const std::vector<char> image((std::istreambuf_iterator<char>(file)), {});
    const size_t nBank = hub["activeBank"] == 1 ? flash.size() / 2 : 0;
    return hub["runsFlash"] == true && !image.empty() && image.size() <= flash.size() - nBank &&
           std::memcmp(image.data(), flash.data() + nBank, image.size()) == 0;
}

std::vector<BYTE> FlashOf(const nlohmann::json& device)
{
    constexpr size_t kMost = 1 << 24;
    std::vector<BYTE> flash;
    EXPECT_TRUE(ParseBenchFlashText(device["flash"], kMost, flash)) << device["id"];
    return flash;
}
