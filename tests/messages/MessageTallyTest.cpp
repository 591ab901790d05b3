#include <gtest/gtest.h>

#include <cstdio>
#include <map>

#include "messages/CMessageBench.h"
#include "messages/CMessageCatalogue.h"

namespace
{
/// What no test can provoke, and why.
const std::map<std::string, std::string> kOutOfReach = {
    {"1|ReplaceAllString|Make sure string is exist\\n",
     "its callers search for an underscore and a backslash, never for an empty pattern"},
};

/// Runs after all stories of this binary.
class CTally : public testing::Environment
{
public:
    void TearDown() override
    {
        if (testing::GTEST_FLAG(filter) != "*")
            return;
        unsigned nAll = 0;
        unsigned nProvoked = 0;
        std::printf("messages provoked / all:\n");
        for (const auto& [strClass, tally] : HeardMessages().TallyByClass()) {
            std::printf("  %-36s %3u / %3u\n", strClass.c_str(), tally.nProvoked, tally.nAll);
            nAll += tally.nAll;
            nProvoked += tally.nProvoked;
        }
        std::printf("  %-36s %3u / %3u\n", "in all", nProvoked, nAll);
        for (const std::string& strLine : HeardMessages().NotProvoked()) {
            const auto it = kOutOfReach.find(strLine);
            if (it == kOutOfReach.end())
                ADD_FAILURE() << "never provoked: " << strLine;
            else
                std::printf("  out of reach: %s (%s)\n", strLine.c_str(), it->second.c_str());
        }
    }
};

// gtest owns and deletes it.
const auto* const g_pTally = testing::AddGlobalTestEnvironment(new CTally);
} // namespace

TEST(MessageTally, AtMostTenMessagesAreOutOfReach)
{
    EXPECT_LE(kOutOfReach.size(), 10u);
}
