#include "tool/Transcripts.h"

#include <gmock/gmock.h>

TEST(Transcript, IsTheSameOnEverySystem)
{
    ExpectTheTranscripts(ZELHUB_TOOL, {});
}

TEST(Version, NamesTheDriversThatTheLibraryCarries)
{
    const ToolResult result = RunTool({"--version"});
    EXPECT_EQ(result.nExit, 0);
    EXPECT_THAT(result.strOut, testing::HasSubstr("bench package: carries refusing stand-ins"));
}
