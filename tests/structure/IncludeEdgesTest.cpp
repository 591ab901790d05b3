#include "structure/IncludeEdges.h"

#include <gtest/gtest.h>

namespace
{
const std::tuple<const char*, const char*, bool> kEdges[] = {
    {"src/msg/CMsg.cpp", "#include \"msg/CMsg.h\"", true},
    {"src/msg/CMsg.cpp", "#include <mutex>", true},
    {"src/msg/CMsg.cpp", "int n = 0; // #include", true},
    {"src/msg/CMsg.cpp", "#include \"transport/CPropertyEx.h\"", false},
    {"src/msg/CMsg.cpp", "#include <unistd.h>", false},
    {"src/msg/CMsg.cpp", "# include <windows.h>", false},
    {"src/msg/CMsg.cpp", "#include \"platform/linux/CLinuxClock.h\"", false},
    {"src/platform/linux/CLinuxClock.cpp", "#include <unistd.h>", true},
    {"src/platform/linux/CLinuxClock.cpp", "#include \"msg/CMsg.h\"", false},
    {"src/find/CTopoMatch.cpp", "#include \"dev/IDev.h\"", true},
    {"src/find/CTopoMatch.cpp", "#include \"find/CUSBDevFind.h\"", false},
    {"src/find/CTopoMatch.cpp", "#include \"cmd/CRequestCMD.h\"", false},
    {"src/find/CUSBDevFind.cpp", "#include \"dev/CHubDev.h\"", false},
    {"src/dev/CHubDev.cpp", "#include \"find/CTopoMatch.h\"", true},
    {"src/dev/CHubDev.cpp", "#include \"find/IDevFinder.h\"", false},
    {"src/dev/IDev.h", "#include \"find/IMatch.h\"", false},
    {"src/flow/CUniversalFlow.cpp", "#include \"find/IDevFinder.h\"", true},
    {"src/flow/CUniversalFlow.cpp", "#include \"dev/CHubDev.h\"", false},
    {"src/flow/CHubFwFinder.cpp", "#include \"dev/IDev.h\"", false},
    {"sim/models/CSimHub.cpp", "#include \"wire/Urb.h\"", true},
    {"sim/models/CSimHub.cpp", "#include \"msg/CMsg.h\"", false},
    {"sim/models/CSimHub.cpp", "#include <sys/stat.h>", false},
    {"sim/models/CSimHub.cpp", "#include \"sim/machine/CSimNode.h\"", false},
    {"tools/zelhub/output/CTableOutput.cpp", "#include \"dev/IDev.h\"", false},
    {"tools/zelhub/Main.cpp", "#include <CLI/CLI.hpp>", true},
    {"tools/zelhub/system/HostSystem_linux.cpp", "#include <unistd.h>", true},
    {"tools/zelhub/system/HostSystem.cpp", "#include <unistd.h>", false},
    {"tools/zelhub/Main.cpp", "#include \"platform/linux/CLinuxClock.h\"", false},
    {"src/elsewhere/New.cpp", "#include \"msg/CMsg.h\"", false},
};

TEST(IncludeEdges, TheJudgeKnowsRightFromWrong)
{
    for (const auto& [pszFile, pszLine, bAllowed] : kEdges) {
        const std::string sWhy = WhyNotAllowed({pszFile, 1, pszLine});
        EXPECT_EQ(sWhy.empty(), bAllowed) << pszFile << ": " << pszLine;
    }
}

TEST(IncludeEdges, NoFileIncludesWhatItsFolderMayNot)
{
    const std::vector<SOURCE_LINE> lines = LinesBelow({"src", "sim", "tools"});
    ASSERT_GT(lines.size(), 1000u) << "the sources were not found";
    for (const SOURCE_LINE& line : lines) {
        const std::string sWhy = WhyNotAllowed(line);
        EXPECT_TRUE(sWhy.empty()) << Place(line) << "\n    " << sWhy;
    }
}
} // namespace
