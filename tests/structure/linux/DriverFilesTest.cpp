#include "transport/StandInDriver.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using testing::HasSubstr;

namespace
{
constexpr size_t kSize = 8192;

using Bytes = std::vector<BYTE>;

Bytes Driver(const stand_in::MACHINE& machine)
{
    const auto file = stand_in::MakeFile<kSize>(machine);
    return {file.begin(), file.end()};
}

/// The driver with one byte set to zero.
Bytes Spoiled(size_t nAt)
{
    Bytes bytes = Driver(stand_in::kX64);
    bytes.at(nAt) = 0;
    return bytes;
}

Bytes Cut(size_t nBytes)
{
    Bytes bytes = Driver(stand_in::kX64);
    bytes.resize(nBytes);
    return bytes;
}

class DriverFiles : public testing::Test
{
protected:
    DriverFiles() { std::filesystem::create_directories(m_strFolder); }
    ~DriverFiles() override { std::filesystem::remove_all(m_strFolder); }

    /// Configures with a file. @return cmake's exit status
    int Configure(const std::string& strFile)
    {
        const std::string strCommand =
            "cmake -S " ZELHUB_SOURCE_DIR "/tests/structure/drivers -B " + m_strFolder +
            "/build -DZELHUB_DRIVER_X64=" + strFile + " >" + m_strFolder + "/said 2>&1";
        const int nResult = std::system(strCommand.c_str());
        std::ifstream said(m_strFolder + "/said");
        m_strSaid.clear(); // its words: the lines break anywhere
        for (std::string strWord; said >> strWord;)
            m_strSaid += strWord + " ";
        return nResult;
    }

    std::string m_strFolder = testing::TempDir() + "zelhub-driver-files";
    std::string m_strSaid;
};

TEST_F(DriverFiles, AreTakenOrRefusedWithAClearLine)
{
    constexpr size_t kVersion = stand_in::kHeaderBytes + stand_in::kVersionAt;
    const std::tuple<Bytes, bool, const char*> kFiles[] = {
        {Driver(stand_in::kX64), true, "stand-ins are embedded for x86, ARM64"},
        {Driver(stand_in::kX86), false, "another processor"},
        {Spoiled(kVersion + 6), false, "has no version resource"},  // its key
        {Spoiled(kVersion + 40), false, "has no version resource"}, // behind the key
        {{'s', 'y', 's'}, false, "is not a driver file"},
        {{}, false, "is not a driver file"},
        {Cut(100), false, "is not a driver file"}}; // in its headers
    const std::string strFile = m_strFolder + "/ZelUpx.sys";
    for (const auto& [bytes, bTaken, pszSays] : kFiles) {
        std::filesystem::remove_all(m_strFolder + "/build");
        std::ofstream(strFile, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        EXPECT_EQ(Configure(strFile) == 0, bTaken) << m_strSaid;
        EXPECT_THAT(m_strSaid, HasSubstr(pszSays));
        EXPECT_TRUE(bTaken || m_strSaid.find("ZELHUB_DRIVER_X64: ") != std::string::npos);
    }
}

TEST_F(DriverFiles, MissingOneIsSaid)
{
    EXPECT_NE(Configure(m_strFolder + "/nowhere.sys"), 0);
    EXPECT_THAT(m_strSaid, HasSubstr("ZELHUB_DRIVER_X64: there is no file"));
}
} // namespace
