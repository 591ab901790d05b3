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
constexpr DWORD kKeyAt = stand_in::kHeaderBytes + stand_in::kVersionAt + 6;

using Bytes = std::vector<BYTE>;

Bytes Driver(const stand_in::MACHINE& machine)
{
    const auto file = stand_in::MakeFile<kSize>(machine);
    return {file.begin(), file.end()};
}

Bytes WithoutVersion()
{
    Bytes bytes = Driver(stand_in::kX64);
    bytes[kKeyAt] = 'X';
    return bytes;
}

/// The key alone, as any text might have it.
Bytes WithTheKeyAlone()
{
    Bytes bytes = Driver(stand_in::kX64);
    bytes[stand_in::kHeaderBytes + stand_in::kVersionAt + 40] = 0; // the record's signature
    return bytes;
}

Bytes Cut(size_t nBytes)
{
    Bytes bytes = Driver(stand_in::kX64);
    bytes.resize(nBytes);
    return bytes;
}

struct DriverFile
{
    const char* pszCase;
    Bytes bytes;
    const char* pszSays; ///< null: it is taken
};

class DriverFiles : public testing::TestWithParam<DriverFile>
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

TEST_P(DriverFiles, AreTakenOrRefusedWithAClearLine)
{
    const std::string strFile = m_strFolder + "/ZelUpx.sys";
    const Bytes& bytes = GetParam().bytes;
    std::ofstream(strFile, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));

    const int nResult = Configure(strFile);

    if (GetParam().pszSays == nullptr) {
        EXPECT_EQ(nResult, 0) << m_strSaid;
        EXPECT_THAT(m_strSaid, HasSubstr("stand-ins are embedded for x86, ARM64"));
        return;
    }
    EXPECT_NE(nResult, 0);
    EXPECT_THAT(m_strSaid, HasSubstr("ZELHUB_DRIVER_X64: "));
    EXPECT_THAT(m_strSaid, HasSubstr(GetParam().pszSays));
}

TEST_F(DriverFiles, MissingOneIsSaid)
{
    EXPECT_NE(Configure(m_strFolder + "/nowhere.sys"), 0);
    EXPECT_THAT(m_strSaid, HasSubstr("ZELHUB_DRIVER_X64: there is no file"));
}

INSTANTIATE_TEST_SUITE_P(
    Of, DriverFiles,
    testing::Values(DriverFile{"Right", Driver(stand_in::kX64), nullptr},
                    DriverFile{"OfAnotherProcessor", Driver(stand_in::kX86), "another processor"},
                    DriverFile{"WithoutVersion", WithoutVersion(), "has no version resource"},
                    DriverFile{"WithTheKeyAlone", WithTheKeyAlone(), "has no version resource"},
                    DriverFile{"Text", {'s', 'y', 's'}, "is not a driver file"},
                    DriverFile{"Empty", {}, "is not a driver file"},
                    DriverFile{"CutInItsHeaders", Cut(100), "is not a driver file"}),
    [](const auto& test) { return test.param.pszCase; });
} // namespace
