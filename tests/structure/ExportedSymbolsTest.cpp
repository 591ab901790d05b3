#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <string>

// What the shared library exports is what hosts were promised, no more and no less.
// scripts/exported-symbols.sh prints the one; the list for the system is the other.
namespace
{
std::set<std::string> LinesOf(const std::string& sPath)
{
    std::ifstream file(sPath);
    EXPECT_TRUE(file) << sPath;
    std::set<std::string> lines;
    for (std::string sLine; std::getline(file, sLine);)
        lines.insert(sLine);
    return lines;
}

TEST(ExportedSymbols, AreThoseOfTheList)
{
    const std::set<std::string> promised = LinesOf(ZELHUB_PROMISED_SYMBOLS);
    const std::set<std::string> exported = LinesOf(ZELHUB_EXPORTED_SYMBOLS);

    ASSERT_FALSE(exported.empty());
    for (const std::string& sSymbol : promised)
        EXPECT_EQ(exported.count(sSymbol), 1u) << "no longer exported: " << sSymbol;
    for (const std::string& sSymbol : exported)
        EXPECT_EQ(promised.count(sSymbol), 1u) << "not in the list: " << sSymbol;
}
} // namespace
