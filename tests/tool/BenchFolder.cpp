#include "tool/BenchFolder.h"

#include "tools/zelhub/bench/BenchFlashText.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <random>
#include <regex>
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

void CBenchFolder::UseBench(std::string strJson)
{
    std::replace(strJson.begin(), strJson.end(), '\'', '"');
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
    UseBench("{'schema': 1, 'controllers': [{'id': 'xhci'}], 'hubs': [{'id': 'hub', "
             "'parent': 'xhci', 'port': 1, 'instance': 11, "
             "'flash': {'size': 65536, 'image': {'version': '0x0100'}" +
             strFlash + "}" + strMore + "}]" + strFile + "}");
}

std::string CBenchFolder::Image(const std::string& strVersion, const std::string& strMore) const
{
    std::string strPath = Path(strVersion + ".bin");
    EXPECT_EQ(RunTool(Typed("bench image @" + strVersion + ".bin --overwrite --version " +
                            strVersion + " " + strMore))
                  .nExit,
              0);
    return strPath;
}

std::vector<std::string> CBenchFolder::Arguments(const std::vector<std::string>& arguments) const
{
    std::vector<std::string> all = {"--bench", m_strBench, "--bench-state", Path("state")};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}

std::vector<std::string> CBenchFolder::Typed(const std::string& strLine) const
{
    std::vector<std::string> words;
    std::istringstream line(strLine);
    for (std::string strWord; line >> std::quoted(strWord, '\'');)
        words.push_back(strWord[0] == '@' ? Path(strWord.substr(1)) : strWord);
    return words;
}

ToolResult CBenchFolder::Run(const std::vector<std::string>& arguments) const
{
    return RunTool(Arguments(arguments));
}

ToolResult CBenchFolder::Type(const std::string& strLine) const
{
    return Run(Typed(strLine));
}

ToolResult CBenchFolder::Expect(int nExit, const std::string& strLine) const
{
    ToolResult result = Type(strLine);
    EXPECT_EQ(result.nExit, nExit) << strLine << ": " << result.strErr;
    return result;
}

void CBenchFolder::Expect(int nExit, const std::string& strLine, const Said& what, const Said& next,
                          const Said& state) const
{
    const nlohmann::json error = Expect(nExit, "--json " + strLine).Json()["error"];
    EXPECT_THAT(AsTyped(error.value("what", "")), what) << strLine;
    EXPECT_FALSE(error.value("next", "").empty()) << strLine;
    EXPECT_THAT(AsTyped(error.value("next", "")), next) << strLine;
    EXPECT_THAT(AsTyped(error.value("state", "")), state) << strLine;
}

std::string CBenchFolder::AsTyped(std::string strText) const
{
    for (size_t n = 0; (n = strText.find(Path(""))) != std::string::npos;)
        strText.replace(n, Path("").size(), "@");
    return std::regex_replace(strText, std::regex("'(@[^']*)'"), "$1");
}

nlohmann::json CBenchFolder::StateOf(const std::string& strId, const std::string& strList) const
{
    const nlohmann::json state = nlohmann::json::parse(ReadText("state"), nullptr, false);
    if (!state.is_discarded())
        for (const nlohmann::json& device : state[strList])
            if (device["id"] == strId)
                return device;
    ADD_FAILURE() << "no state of " << strId;
    return {};
}

bool CBenchFolder::Runs(const std::string& strImage, const nlohmann::json& device)
{
    if (device["onBus"] != true || device["runsFlash"] != true)
        return false;
    const std::vector<BYTE> flash = FlashOf(device);
    const std::string strWanted = ReadFile(strImage);
    const size_t nBank = device["activeBank"] == 1 ? flash.size() / 2 : 0;
    return !strWanted.empty() && strWanted.size() <= flash.size() - nBank &&
           std::memcmp(strWanted.data(), flash.data() + nBank, strWanted.size()) == 0;
}

std::vector<BYTE> FlashOf(const nlohmann::json& device)
{
    constexpr size_t kMost = 1 << 24;
    std::vector<BYTE> flash;
    EXPECT_TRUE(ParseBenchFlashText(device["flash"], kMost, flash)) << device["id"];
    return flash;
}
