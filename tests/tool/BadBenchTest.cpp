#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace
{

/// Texts with what is said of them behind the file's name; "$" is a good beginning with one
/// controller.
const std::pair<const char*, const char*> kBadBenches[] = {
    {"{'schema': 1,\n  'hubs': [}", ":2:12: not JSON: "},
    {"{'schema': 1,", ":1:14: not JSON: "},
    {"", ":1:1: not JSON: "},
    {"[]", ":1:1: has to be an object {...}"},
    {"{'controllers': []}", ":1:1: \"schema\" is missing"},
    {"{'schema': 2}", ":1:2: \"schema\" has to be from 1 to 1"},
    {"{'schema': 1}", ":1:1: \"controllers\" is missing: a machine has at least one"},
    {"{'schema': 1,\n 'controllers': [{'id': 'x'}],\n 'hups': []}", ":3:2: unknown field \"hups\""},
    {"$ 'hubs': [\n{'id': 'h', 'parent': 'x', 'port': 1, 'colour': 1}]}",
     ":2:39: unknown field \"colour\""},
    {"{'schema': 1, 'controllers': [{'id': 5}]}", ":1:32: \"id\" has to be a text"},
    {"$ 'hubs': [\n{'id': 'h', 'parent': 'x', 'port': -1}]}",
     ":2:28: \"port\" has to be a whole number, such as 12 or \"0x0C\""},
    {"$ 'hubs': [\n{'id': 'a', 'parent': 'b', 'port': 1},\n{'id': 'b', 'parent': 'a', 'port': 1}]}",
     ":2:13: the tree has a loop through \"a\""},
    {"$ 'hubs': [\n{'id': 'a', 'parent': 'y', 'port': 1}]}",
     ":2:13: parent \"y\" is no controller or hub"},
    {"{'schema': 1, 'controllers': [{'id': 'x'},\n{'id': 'x'}]}", ":2:2: id \"x\" is used twice"},
    {"{'schema': 1, 'controllers': [{'id': 'x', 'instance': 7}], 'hubs': [\n"
     "{'id': 'a', 'parent': 'x', 'port': 1, 'instance': '0x07'}]}",
     ":2:39: instance number 7 is used twice"},
    {"$ 'hubs': [\n{'id': 'a', 'parent': 'x', 'port': 1},\n{'id': 'b', 'parent': 'x', 'port': 1}]}",
     ":3:28: port 1 of \"x\" is used twice"},
    {"$ 'hubs': [\n{'id': 'a', 'parent': 'x', 'port': 1, 'locationPaths': ['#USB(1)']}]}",
     ":2:57: a location path has at least 8 characters; a shorter one ends the library"},
    {"$ 'hubs': [\n{'id': 'a', 'parent': 'x', 'port': 1, 'identity': '\xC3\xA4'}]}",
     ":2:39: texts of devices have to be printable ASCII"},
    {"$ 'faults': [\n{'hub': 'nobody', 'kind': 'stall'}]}",
     ":2:2: \"hub\" names no hub of \"hubs\": \"nobody\""},
    {"$ 'hubs': [{'id': 'h',\n'parent': 'x', 'port': 1}], 'faults': [{'hub': 'h', 'kind': 'magic'}]}",
     ":2:53: \"kind\" has to be one of fail, stall, timeout, urb-status, corrupt, lie, slow, "
     "vanish"},
    {"$ 'hubs': [{'id': 'a', 'parent': 'x', 'port': 1, "
     "'flash': {'size': 65536, 'banks': 2, 'secondImage': {'size': 131072}}}]}",
     ":1:129: \"secondImage\" is larger than the flash"},
    {"$\n'smbus': {'id': 's', 'base': '0xEFA1'}}", ":2:22: \"base\" has to be a multiple of 16"},
    {"$ 'smbus': {'id': 's', 'devices': [\n{'id': 'd', 'address': 66, 'blocks': [{'command': 1, "
     "'data': '000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F20'}]}]}}",
     ":2:54: \"data\" is longer than a block, which has at most 32 bytes"},
    {"$ 'smbus': {'id': 's', 'devices': [\n{'id': 'd', 'address': 66}, "
     "{'id': 'e', 'address': '0x42'}]}}",
     ":2:41: SMBus address 0x42 is used twice"},
    {"$ 'smbus': {'id': 's',\n'faults': [{'kind': 'magic'}]}}",
     ":2:13: \"kind\" has to be one of dev-err, bus-err, failed, crc, hang"},
    {"$\n'ec': {'id': 'ec', 'dataPort': '0x66'}}", ":2:20: I/O port 0x0066 is used twice"},
    {"$ 'ec': {'id': 'ec',\n'registers': [{'register': 255, 'data': '00 01'}]}}",
     ":2:33: \"data\" goes beyond register 0xFF"},
    {"$\n'memory': [{'address': 0, 'data': '0 1'}]}",
     ":2:27: \"data\" has to be hex bytes such as \"01 2A FF\""},
    {"{'schema': 1, 'machine': {'portDriver': 'perhaps'}}",
     ":1:27: \"portDriver\" has to be one of loads, running, missing, denied"},
    {"$ 'hidDevices': [\n{'id': 'h', 'parent': 'x', 'port': 1, 'instance': 5, 'hidInstance': 5}]}",
     ":2:54: instance number 5 is used twice"},
    {"$ 'hubs': [{'id': '1', 'parent': 'x', 'port': 1}, {'id': '2', 'parent': '1', 'port': 1},"
     "{'id': '3', 'parent': '2', 'port': 1}, {'id': '4', 'parent': '3', 'port': 1},"
     "{'id': '5', 'parent': '4', 'port': 1}, {'id': '6', 'parent': '5', 'port': 1},"
     "{'id': '7', 'parent': '6', 'port': 1}]}",
     ":1:285: hangs deeper than USB allows (6 tiers below a root hub)"},
    {"$ 'pdControllers': [\n{'id': 'pd', 'hub': 'none', 'address': '0x43'}]}",
     ":2:29: \"address\" has to be even: the 8-bit form, twice the 7-bit address"},
    {"$ 'pdControllers': [\n{'id': 'pd', 'hub': 'none', 'address': '0x42'}]}",
     ":2:14: \"hub\" names no hub of \"hubs\": \"none\""},
    {"$ 'hubs': [{'id': 'h', 'parent': 'x', 'port': 1}], "
     "'pdControllers': [\n{'id': 'h', 'hub': 'h', 'address': 66}]}",
     ":2:2: id \"h\" is used twice"},
    {"$ 'hubs': [{'id': 'h', 'parent': 'x', 'port': 1}], 'pdControllers': [\n"
     "{'id': 'a', 'hub': 'h', 'address': 66}, {'id': 'b', 'hub': 'h', 'address': 66}]}",
     ":2:65: address 0x42 behind \"h\" is used twice"},
};

} // namespace

TEST(RefusedBench, IsAUsageErrorWithLineAndColumn)
{
    CBenchFolder bench;
    for (const auto& [pszText, pszSays] : kBadBenches) {
        std::string strText = pszText;
        if (strText[0] == '$')
            strText.replace(0, 1, "{'schema': 1, 'controllers': [{'id': 'x'}],");
        bench.UseBench(strText);
        const std::string strSays = std::string("@bench.json") + pszSays;
        bench.Expect(2, "list", // the parser's own words follow a blank
                     strSays.back() == ' ' ? Said(testing::StartsWith(strSays)) : Said(strSays),
                     "Correct the file; docs/bench.md describes it.");
    }
}

TEST(RefusedBench, HasTextsThatTheLibrarysMessagesCannotCarry)
{
    CBenchFolder bench;
    bench.UseHub(", 'hardwareIds': ['" + std::string(201, 'A') + "']");
    bench.Expect(
        2, "list",
        "@bench.json:1:190: text of 201 characters: the library's messages carry at most 200");
    bench.UseHub(", 'hardwareIds': ['" + std::string(200, 'A') + "'], 'locationPaths': ['" +
                 std::string(200, 'B') + "'], 'serial': '" + std::string(100, 'C') + "'");
    bench.Expect(0, "list");
}

TEST(RefusedBench, IsAMissingFileOrAFolder)
{
    EXPECT_EQ(RunTool({"--bench", "/nowhere/bench.json", "list"}).nExit, 2);
    const ToolResult folder = RunTool({"--bench", "/", "list"});
    EXPECT_EQ(folder.nExit, 2);
    EXPECT_THAT(folder.strErr, testing::HasSubstr("is a folder, not a file"));
}

TEST(BenchState, OfAnotherBenchOrNoStateOrAFolderIsRefused)
{
    CBenchFolder bench;
    bench.UseHub();
    (void)bench.Write("state", std::string("{}"));
    bench.Expect(2, "list");
    bench.UseExample("desk.json");
    bench.Expect(0, "list");
    const std::string strState = bench.ReadText("state");
    bench.UseHub();
    (void)bench.Write("state", strState);
    bench.Expect(2, "list",
                 "@state:6:4: \"id\" names nothing on the bench: this state belongs to another");
    std::filesystem::remove(bench.Path("state"));
    std::filesystem::create_directory(bench.Path("state"));
    bench.Expect(2, "list", "bench state @state: cannot be read",
                 "Give another file, or delete it to begin anew.");
}

TEST(Examples, AreGoodBenches)
{
    for (const char* const pszName :
         {"desk.json", "one-hub.json", "troubled.json", "dock.json", "laptop.json"}) {
        CBenchFolder bench;
        bench.UseExample(pszName);
        bench.Expect(0, "bench check");
    }
}
