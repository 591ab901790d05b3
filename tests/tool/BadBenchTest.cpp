#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

struct BadBench
{
    const char* pszCase;
    const char* pszText;
    const char* pszSays; ///< with line and column
};

const BadBench kBadBenches[] = {
    {"SyntaxError", "{\"schema\": 1,\n  \"hubs\": [}", ":2:12: not JSON"},
    {"Unfinished", "{\"schema\": 1,", ":1:14: not JSON"},
    {"Empty", "", ":1:1: not JSON"},
    {"NoObject", "[]", ":1:1: has to be an object"},
    {"NoSchema", "{\"controllers\": []}", "\"schema\" is missing"},
    {"OtherSchema", "{\"schema\": 2}", ":1:2: \"schema\" has to be from 1 to 1"},
    {"NoController", "{\"schema\": 1}", "\"controllers\" is missing"},
    {"UnknownField", "{\"schema\": 1,\n \"controllers\": [{\"id\": \"x\"}],\n \"hups\": []}",
     ":3:2: unknown field \"hups\""},
    {"UnknownFieldInAHub",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"hubs\": [\n"
     "{\"id\": \"h\", \"parent\": \"x\", \"port\": 1, \"colour\": 1}]}",
     ":2:39: unknown field \"colour\""},
    {"WrongType", "{\"schema\": 1, \"controllers\": [{\"id\": 5}]}", "\"id\" has to be a text"},
    {"NegativeNumber",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"hubs\": [\n"
     "{\"id\": \"h\", \"parent\": \"x\", \"port\": -1}]}",
     ":2:28: \"port\" has to be a whole number"},
    {"Loop",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"hubs\": [\n"
     "{\"id\": \"a\", \"parent\": \"b\", \"port\": 1},\n"
     "{\"id\": \"b\", \"parent\": \"a\", \"port\": 1}]}",
     ":2:13: the tree has a loop through \"a\""},
    {"UnknownParent",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"hubs\": [\n"
     "{\"id\": \"a\", \"parent\": \"y\", \"port\": 1}]}",
     ":2:13: parent \"y\" is no controller or hub"},
    {"DuplicateId", "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"},\n{\"id\": \"x\"}]}",
     ":2:2: id \"x\" is used twice"},
    {"DuplicateInstance",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\", \"instance\": 7}], \"hubs\": [\n"
     "{\"id\": \"a\", \"parent\": \"x\", \"port\": 1, \"instance\": \"0x07\"}]}",
     ":2:39: instance number 7 is used twice"},
    {"PortTaken",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"hubs\": [\n"
     "{\"id\": \"a\", \"parent\": \"x\", \"port\": 1},\n{\"id\": \"b\", \"parent\": \"x\", \"port\": 1}]}",
     ":3:28: port 1 of \"x\" is used twice"},
    {"PathTooShortForTheLibrary",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"hubs\": [\n"
     "{\"id\": \"a\", \"parent\": \"x\", \"port\": 1, \"locationPaths\": [\"#USB(1)\"]}]}",
     ":2:57: a location path has at least 8 characters; a shorter one ends the library"},
    {"TextOfAnotherAlphabet",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"hubs\": [\n"
     "{\"id\": \"a\", \"parent\": \"x\", \"port\": 1, \"identity\": \"\xC3\xA4\"}]}",
     ":2:39: texts of devices have to be printable ASCII"},
    {"FaultOfNoHub",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"faults\": [\n"
     "{\"hub\": \"nobody\", \"kind\": \"stall\"}]}",
     ":2:2: \"hub\" names no hub of \"hubs\": \"nobody\""},
    {"UnknownFault",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"hubs\": [{\"id\": \"h\",\n"
     "\"parent\": \"x\", \"port\": 1}], \"faults\": [{\"hub\": \"h\", \"kind\": \"magic\"}]}",
     "\"kind\" has to be one of fail, stall, timeout"},
    {"SecondImageTooLarge",
     R"({"schema": 1, "controllers": [{"id": "x"}], "hubs": [{"id": "a", "parent": "x", "port": 1,
        "flash": {"size": 65536, "banks": 2, "secondImage": {"size": 131072}}}]})",
     "\"secondImage\" is larger than the flash"},
    {"SmbusBaseOdd",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}],\n"
     "\"smbus\": {\"id\": \"s\", \"base\": \"0xEFA1\"}}",
     ":2:22: \"base\" has to be a multiple of 16"},
    {"SmbusBlockTooLong",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"smbus\": {\"id\": \"s\", \"devices\": [\n"
     "{\"id\": \"d\", \"address\": 66, \"blocks\": [{\"command\": 1, \"data\":\n"
     "\"000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F20\"}]}]}}",
     "\"data\" is longer than a block"},
    {"SmbusAddressTwice",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"smbus\": {\"id\": \"s\", \"devices\": [\n"
     "{\"id\": \"d\", \"address\": 66}, {\"id\": \"e\", \"address\": \"0x42\"}]}}",
     "SMBus address 0x42 is used twice"},
    {"SmbusFaultOfNoKind",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"smbus\": {\"id\": \"s\",\n"
     "\"faults\": [{\"kind\": \"magic\"}]}}",
     ":2:13: \"kind\" has to be one of dev-err, bus-err"},
    {"EcPortsTheSame",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}],\n"
     "\"ec\": {\"id\": \"ec\", \"dataPort\": \"0x66\"}}",
     ":2:20: I/O port 0x0066 is used twice"},
    {"EcRegistersBeyondTheLast",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"ec\": {\"id\": \"ec\",\n"
     "\"registers\": [{\"register\": 255, \"data\": \"00 01\"}]}}",
     "\"data\" goes beyond register 0xFF"},
    {"NoHexBytes",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}],\n"
     "\"memory\": [{\"address\": 0, \"data\": \"0 1\"}]}",
     ":2:27: \"data\" has to be hex bytes"},
    {"PortDriverOfNoKind", "{\"schema\": 1, \"machine\": {\"portDriver\": \"perhaps\"}}",
     "\"portDriver\" has to be one of loads, running, missing, denied"},
    {"HidInstanceTwice",
     "{\"schema\": 1, \"controllers\": [{\"id\": \"x\"}], \"hidDevices\": [\n"
     "{\"id\": \"h\", \"parent\": \"x\", \"port\": 1, \"instance\": 5, \"hidInstance\": 5}]}",
     ":2:54: instance number 5 is used twice"},
    {"TooManyTiers",
     R"({"schema": 1, "controllers": [{"id": "0"}], "hubs": [
        {"id": "1", "parent": "0", "port": 1}, {"id": "2", "parent": "1", "port": 1},
        {"id": "3", "parent": "2", "port": 1}, {"id": "4", "parent": "3", "port": 1},
        {"id": "5", "parent": "4", "port": 1}, {"id": "6", "parent": "5", "port": 1},
        {"id": "7", "parent": "6", "port": 1}]})",
     "hangs deeper than USB allows"},
};

class RefusedBench : public testing::TestWithParam<BadBench>
{};

} // namespace

TEST_P(RefusedBench, IsAUsageErrorWithLineAndColumn)
{
    CBenchFolder bench;
    bench.UseBench(GetParam().pszText);
    const ToolResult result = bench.Run({"--json", "list"});
    EXPECT_EQ(result.nExit, 2);
    EXPECT_THAT(result.Json()["error"]["what"].get<std::string>(), HasSubstr(GetParam().pszSays));
}

INSTANTIATE_TEST_SUITE_P(Of, RefusedBench, testing::ValuesIn(kBadBenches),
                         [](const auto& test) { return test.param.pszCase; });

TEST(RefusedBenchText, IsOneThatTheLibrarysMessagesCannotCarry)
{
    CBenchFolder bench;
    bench.UseHub(R"(, "hardwareIds": [")" + std::string(201, 'A') + "\"]");
    const ToolResult result = bench.Run({"list"});
    EXPECT_EQ(result.nExit, 2);
    EXPECT_THAT(result.strErr, HasSubstr("the library's messages carry at most 200"));
}

TEST(RefusedBenchText, MayBeAsLongAsTheLimit)
{
    CBenchFolder bench;
    bench.UseHub(R"(, "hardwareIds": [")" + std::string(200, 'A') + R"("], "locationPaths": [")" +
                 std::string(200, 'B') + R"("], "serial": ")" + std::string(100, 'C') + "\"");
    const ToolResult result = bench.Run({"list"});
    EXPECT_EQ(result.nExit, 0) << result.strErr;
}

TEST(RefusedBenchPath, IsAMissingFileOrAFolder)
{
    EXPECT_EQ(RunTool({"--bench", "/nowhere/bench.json", "list"}).nExit, 2);
    const ToolResult folder = RunTool({"--bench", "/", "list"});
    EXPECT_EQ(folder.nExit, 2);
    EXPECT_THAT(folder.strErr, HasSubstr("is a folder, not a file"));
}

TEST(BenchState, OfAnotherBenchOrNoStateIsRefused)
{
    CBenchFolder bench;
    bench.UseHub();
    bench.Write("state", std::string("{}"));
    EXPECT_EQ(bench.Run({"list"}).nExit, 2);
    bench.UseExample("desk.json");
    ASSERT_EQ(bench.Run({"list"}).nExit, 0);
    const std::string strState = bench.ReadText("state");
    bench.UseHub();
    bench.Write("state", strState);
    const ToolResult result = bench.Run({"list"});
    EXPECT_EQ(result.nExit, 2);
    EXPECT_THAT(result.strErr, HasSubstr("this state belongs to another"));
}

TEST(Examples, AreGoodBenches)
{
    for (const char* const pszName :
         {"desk.json", "one-hub.json", "troubled.json", "dock.json", "laptop.json"}) {
        CBenchFolder bench;
        bench.UseExample(pszName);
        const ToolResult result = bench.Run({"bench", "check"});
        EXPECT_EQ(result.nExit, 0) << pszName << ": " << result.strErr;
    }
}
