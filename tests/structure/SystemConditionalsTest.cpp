#include "structure/SourceTree.h"

#include <gtest/gtest.h>
#include <regex>

namespace
{
/// Whether a line asks at compile time which system it is built for.
bool AsksForTheSystem(const std::string& sText)
{
    static const std::regex kQuestion(
        R"(\s*#\s*(if|ifdef|ifndef|elif)\b.*\b(_WIN32|_WIN64|WIN32|_MSC_VER|__MINGW32__|)"
        R"(__MINGW64__|__CYGWIN__|__linux__|__linux|linux|__unix__|__unix|__APPLE__|)"
        R"(__ANDROID__|_POSIX_VERSION)\b.*)");
    return std::regex_match(sText, kQuestion);
}

TEST(SystemConditionals, AreRecognised)
{
    EXPECT_TRUE(AsksForTheSystem("#ifdef _WIN32"));
    EXPECT_TRUE(AsksForTheSystem("  # if defined(__linux__) && X"));
    EXPECT_TRUE(AsksForTheSystem("#elif defined(_MSC_VER)"));
    EXPECT_FALSE(AsksForTheSystem("#if defined(__cplusplus)"));
    EXPECT_FALSE(AsksForTheSystem("// #ifdef _WIN32 would be wrong here"));
}

TEST(SystemConditionals, StandOnlyInThePlatformFolder)
{
    const std::vector<SOURCE_LINE> lines =
        LinesBelow({"src", "sim", "tools", "tests", "bench", "fuzz", "examples"});
    ASSERT_GT(lines.size(), 1000u) << "the sources were not found";
    for (const SOURCE_LINE& line : lines) {
        if (line.sPath.rfind("src/platform/", 0) != 0) {
            EXPECT_FALSE(AsksForTheSystem(line.sText)) << Place(line);
        }
    }
}
} // namespace
