#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using nlohmann::json;
using testing::HasSubstr;

namespace
{

const std::vector<std::string> kSmbusRead = {"smbus",  "read", "--base",    "0xEFA0",
                                             "--addr", "0x16", "--command", "0x20"};
const std::vector<std::string> kSmbusWrite = {"smbus",  "write",    "--base",    "0xEFA0",
                                              "--addr", "0x42",     "--command", "0x10",
                                              "--data", "DE AD BE", "--yes"};
const std::vector<std::string> kEcRead = {"ec", "read", "--reg", "0x58"};
const std::vector<std::string> kEcWrite = {"ec",      "write", "--reg", "0x58",
                                           "--value", "0x30",  "--yes"};
const std::vector<std::string> kMemWrite = {"mem",    "write",  "--addr", "0x2000",
                                            "--data", "010203", "--yes"};

std::vector<std::string> With(std::vector<std::string> arguments,
                              const std::vector<std::string>& more)
{
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

/// The example's laptop, changed by a JSON merge patch.
class Laptop : public testing::Test
{
protected:
    Laptop() { Use("{}"); }

    void Use(const std::string& strPatch)
    {
        json bench = json::parse(
            CBenchFolder::ReadFile(std::string(ZELHUB_SOURCE_DIR) + "/examples/laptop.json"));
        bench.merge_patch(json::parse(strPatch));
        m_bench.UseBench(bench.dump(1));
    }

    ToolResult Run(const std::vector<std::string>& arguments) const
    {
        return m_bench.Run(With({"--json"}, arguments));
    }

    json State() const { return json::parse(m_bench.ReadText("state")); }

    /// The model is the judge: the block of a command of the SMBus device "pd".
    std::string BlockInModel(unsigned nCommand) const
    {
        const json state = State();
        for (const json& device : state["smbus"]["devices"])
            for (const json& block : device["blocks"])
                if (device["id"] == "pd" && block["command"] == nCommand)
                    return block["data"];
        return {};
    }

    std::string EcInModel(unsigned nRegister) const
    {
        return State()["ec"]["registers"].get<std::string>().substr(nRegister * 3, 2);
    }

    CBenchFolder m_bench;
};

struct Refusal
{
    const char* pszCase;
    const char* pszPatch; ///< of the laptop
    std::vector<std::string> arguments;
    int nExit;
    const char* pszSays;
};

constexpr const char* kAsItIs = "{}";

const Refusal kRefusals[] = {
    {"SmbusNoController", R"({"smbus": {"present": false}})", kSmbusRead, 3,
     "no SMBus controller answers at bus 1, device 17, function 1"},
    {"SmbusNothingAtBase", R"({"smbus": {"base": "0xE000"}})", kSmbusRead, 3,
     "at base 0xEFA0 nothing answers"},
    {"SmbusBaseOfSomethingElse",
     R"({"smbus": {"base": "0xE000"}, "ec": {"commandPort": "0xEFA0", "dataPort": "0xEFA4"}})",
     kSmbusRead, 3, "something answers that is no SMBus controller"},
    {"SmbusBaseOdd", kAsItIs, With(kSmbusRead, {"--base", "0xEFA1"}), 2, "--base"},
    {"SmbusDeviceDoesNotAnswer", R"({"smbus": {"devices": []}})", kSmbusRead, 3,
     "it does not answer, does not know command 0x20"},
    {"SmbusDeviceWantsPec",
     kAsItIs,
     {"smbus", "read", "--base", "0xEFA0", "--addr", "0x5A", "--command", "1"},
     3,
     "from the device at 0x5A"},
    {"SmbusWriteNotTaken", R"({"smbus": {"devices": []}})", kSmbusWrite, 6,
     "could not be written to the device at 0x42"},
    {"SmbusBusLost", R"({"smbus": {"faults": [{"kind": "bus-err"}]}})", kSmbusRead, 1,
     "the bus was lost"},
    {"SmbusFailed", R"({"smbus": {"faults": [{"kind": "failed"}]}})", kSmbusWrite, 6,
     "the controller gave up"},
    {"SmbusByByteFails", R"({"smbus": {"faults": [{"kind": "bus-err"}]}})",
     With(kSmbusRead, {"--by-byte"}), 1, "the bus was lost"},
    {"SmbusBufferLies", R"({"smbus": {"corruptReads": 1000000}})", kSmbusWrite, 6,
     "Finally comapre fail"},
    {"SmbusHangs", R"({"smbus": {"faults": [{"kind": "hang"}]}})", kSmbusWrite, 8,
     "does not come to an end"},
    {"SmbusAddressOdd",
     kAsItIs,
     {"smbus", "read", "--base", "0xEFA0", "--addr", "0x17", "--command", "1"},
     2,
     "is odd"},
    {"SmbusAddressOutOfRange",
     kAsItIs,
     {"smbus", "read", "--base", "0xEFA0", "--addr", "0x100", "--command", "1"},
     2,
     "--addr"},
    {"SmbusBaseOfThePciPorts",
     kAsItIs,
     {"smbus", "read", "--base", "0xCF0", "--addr", "0x16", "--command", "1"},
     2,
     "cannot be an SMBus controller's"},
    {"SmbusBlockTooLong",
     kAsItIs,
     {"smbus", "write", "--base", "0xEFA0", "--addr", "0x42", "--command", "1", "--yes", "--data",
      "000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F20"},
     2,
     "has 33 bytes: an SMBus block has at most 32"},
    {"SmbusNoData",
     kAsItIs,
     {"smbus", "write", "--base", "0xEFA0", "--addr", "0x42", "--command", "1", "--yes", "--data",
      "1"},
     2,
     "is no hex bytes"},
    {"SmbusWithoutYes",
     kAsItIs,
     {"smbus", "write", "--base", "0xEFA0", "--addr", "0x42", "--command", "1", "--data", "01"},
     2,
     "smbus write can harm the machine"},
    {"PortDriverMissing", R"({"machine": {"portDriver": "missing"}})", kSmbusRead, 4,
     "the port driver (voport) could not be started"},
    {"PortDriverDenied", R"({"machine": {"portDriver": "denied"}})", kSmbusWrite, 4,
     "StartService() FAILED! ==> 5"},
    {"PortDriverWithoutManager",
     R"({"machine": {"serviceManager": false}})",
     {"port", "read", "--port", "0x80"},
     4,
     "OpenSCManager() FAILED! ==> 120"},
    {"PortRefused",
     R"({"faults": [{"call": "IDeviceFile::Control", "nth": 1, "code": 5}]})",
     {"port", "read", "--port", "0x80"},
     4,
     "port 0x0080 could not be accessed"},
    {"PortWithoutYes",
     kAsItIs,
     {"port", "write", "--port", "0x80", "--value", "1"},
     2,
     "port write can harm the machine"},
    {"PortValueNoByte",
     kAsItIs,
     {"port", "write", "--port", "0x80", "--value", "0x100", "--yes"},
     2,
     "is no byte"},
    {"PortTooHigh", kAsItIs, {"port", "read", "--port", "0x10000"}, 2, "--port"},
    {"PortWideAtTheEnd",
     kAsItIs,
     {"port", "read", "--port", "0xFFFD", "--width", "4"},
     2,
     "go beyond port 0xFFFF"},
    {"PortWideThroughTheHubDriver",
     kAsItIs,
     {"port", "read", "--port", "0x80", "--width", "4", "--driver", "hub"},
     2,
     "by single bytes only"},
    {"EcNotThere", R"({"ec": null})", kEcRead, 3, "nothing answers at command port 0x66"},
    {"EcHangs", R"({"ec": {"hangs": true}})", kEcRead, 8, "does not answer at command port 0x66"},
    {"EcHangsInAWrite", R"({"ec": {"hangs": true}})", kEcWrite, 8, "does not answer"},
    {"EcPortsSwapped",
     kAsItIs,
     {"ec", "read", "--reg", "1", "--command-port", "0x62", "--data-port", "0x66"},
     2,
     "the ports look swapped"},
    {"EcPortsSwappedByForce",
     kAsItIs,
     {"ec", "read", "--reg", "1", "--command-port", "0x62", "--data-port", "0x66", "--force"},
     8,
     "does not answer at command port 0x62, data port 0x66"},
    {"EcPortsTheSame",
     kAsItIs,
     {"ec", "read", "--reg", "1", "--data-port", "0x66"},
     2,
     "are the same"},
    {"EcRegisterOutOfRange", kAsItIs, {"ec", "read", "--reg", "256"}, 2, "is not from 0 to 255"},
    {"EcRegisterOutOfRangeInHex",
     kAsItIs,
     {"ec", "read", "--reg", "0x100"},
     2,
     "0x100 is not from 0x00 to 0xFF"},
    {"EcRegisterNoNumber", kAsItIs, {"ec", "read", "--reg", "58h"}, 2, "is no whole number"},
    {"EcRegisterNegative", kAsItIs, {"ec", "read", "--reg=-1"}, 2, "is no whole number"},
    {"EcRegisterEmpty", kAsItIs, {"ec", "read", "--reg", "0x"}, 2, "is no whole number"},
    {"EcTooMany", kAsItIs, {"ec", "read", "--reg", "0xFF", "--count", "2"}, 2, "goes beyond 0xFF"},
    {"EcWithoutYes",
     kAsItIs,
     {"ec", "write", "--reg", "1", "--value", "2"},
     2,
     "ec write can harm the machine"},
    {"EcWithoutHubDriver", R"({"machine": {"serviceManagerError": 5}})", kEcRead, 4,
     "the hub driver could not be started"},
    {"BenchFaultOfTheEc", kAsItIs, {"bench", "fault", "ec"}, 3, "ec has no model"},
    {"BenchFaultOfAHubOnTheSmbus",
     kAsItIs,
     {"bench", "fault", "smbus", "--kind", "stall"},
     2,
     "stall is no fault of the SMBus controller"},
    {"BenchFaultOfTheSmbusTooFarOff",
     kAsItIs,
     {"bench", "fault", "smbus", "--nth", "1000"},
     2,
     "beyond the next 1000 transactions"},
    {"BenchPlugWithoutAPlug", kAsItIs, {"bench", "unplug", "battery"}, 3, "has no plug"},
    {"MemoryTooMuch",
     kAsItIs,
     {"mem", "read", "--addr", "0xFFFFFFFF", "--length", "2"},
     2,
     "are too many"},
    {"MemoryWithoutYes",
     kAsItIs,
     {"mem", "write", "--addr", "0", "--data", "00"},
     2,
     "mem write can harm the machine"},
    {"MemoryRefused",
     R"({"faults": [{"call": "IDeviceFile::Control", "nth": 1, "code": 5}]})",
     {"mem", "read", "--addr", "0", "--length", "1"},
     4,
     "memory at 0x00000000"},
};

class RefusedLab : public Laptop, public testing::WithParamInterface<Refusal>
{};

struct Sweep
{
    const char* pszCase;
    std::vector<std::string> arguments;
    std::function<bool(const json& state)> isDone; ///< what the models say
};

const Sweep kSweeps[] = {
    {"Smbus", With(kSmbusWrite, {"--verify"}),
     [](const json& state) {
         return state["smbus"]["devices"][1]["blocks"][0]["data"] == "DE AD BE";
     }},
    {"SmbusByByte", With(kSmbusWrite, {"--by-byte"}),
     [](const json& state) {
         return state["smbus"]["devices"][1]["blocks"][0]["data"] == "DE AD BE";
     }},
    {"Ec", kEcWrite,
     [](const json& state) {
         return state["ec"]["registers"].get<std::string>().substr(0x58 * 3, 2) == "30";
     }},
    {"Memory", kMemWrite,
     [](const json& state) { return state["memory"][0]["data"] == "01 02 03"; }},
};

class FailedAccess : public Laptop, public testing::WithParamInterface<Sweep>
{};

} // namespace

TEST_P(RefusedLab, SaysWhyAndExitsAsDocumented)
{
    Use(GetParam().pszPatch);
    const ToolResult result = Run(GetParam().arguments);
    EXPECT_EQ(result.nExit, GetParam().nExit) << result.strErr;
    const json error = result.Json()["error"];
    EXPECT_THAT(error["what"].get<std::string>(), HasSubstr(GetParam().pszSays));
    EXPECT_FALSE(error["next"].get<std::string>().empty());
}

INSTANTIATE_TEST_SUITE_P(Of, RefusedLab, testing::ValuesIn(kRefusals),
                         [](const auto& test) { return test.param.pszCase; });

TEST_P(FailedAccess, OfTheDriverIsNeverTakenForSuccess)
{
    const unsigned kMost = 400;
    unsigned n = 1;
    for (; n < kMost; ++n) {
        Use(R"({"faults": [{"call": "IDeviceFile::Control", "code": 5, "nth": )" +
            std::to_string(n) + "}]}");
        const ToolResult result = Run(GetParam().arguments);
        if (result.nExit == 0)
            break; // it makes fewer accesses
        EXPECT_THAT(result.nExit, testing::AnyOf(1, 4, 6, 8)) << "access " << n;
    }
    EXPECT_TRUE(GetParam().isDone(State())) << "success at " << n;
    EXPECT_GT(n, 2u);
    EXPECT_LT(n, kMost);
    RecordProperty("accesses", static_cast<int>(n - 1));
}

INSTANTIATE_TEST_SUITE_P(In, FailedAccess, testing::ValuesIn(kSweeps),
                         [](const auto& test) { return test.param.pszCase; });

TEST_F(Laptop, SmbusBlocksAreReadAndWrittenByBothRoads)
{
    for (const std::vector<std::string>& road : {std::vector<std::string>{}, {"--by-byte"}}) {
        const json read = Run(With(kSmbusRead, road)).Json();
        EXPECT_EQ(read["data"], "53 69 6D 42 61 74");
        EXPECT_EQ(read["address"], 0x16);
        EXPECT_EQ(read["address7"], 0x0B);
        ASSERT_EQ(Run(With(With(kSmbusWrite, road), {"--verify"})).nExit, 0);
        EXPECT_EQ(BlockInModel(0x10), "DE AD BE");
        Use("{}");
    }
}

TEST_F(Laptop, SmbusWriteThatCannotBeReadBackIsNoSuccess)
{
    Use(R"({"smbus": {"faults": [{"transaction": 1, "kind": "dev-err"}]}})");
    const ToolResult result = Run(With(kSmbusWrite, {"--verify"}));
    EXPECT_EQ(result.nExit, 1);
    EXPECT_EQ(result.Json()["error"]["state"], "the block was written, but not compared");
    EXPECT_EQ(BlockInModel(0x10), "DE AD BE");
}

TEST_F(Laptop, WritesThatDoNotStayAreMismatchesUnlessNobodyLooks)
{
    const std::vector<std::string> kCases[] = {
        {"ec", "write", "--reg", "1", "--value", "0x55", "--yes"},
        {"mem", "write", "--addr", "0xFFFF1", "--data", "5B 55", "--yes"}};
    for (const std::vector<std::string>& arguments : kCases) {
        const ToolResult result = Run(arguments);
        EXPECT_EQ(result.nExit, 7);
        EXPECT_THAT(result.Json()["error"]["what"].get<std::string>(), HasSubstr("0x55"));
        EXPECT_EQ(Run(With(arguments, {"--no-verify"})).nExit, 0);
    }
}

TEST_F(Laptop, SmbusFaultsWaitInTheStateUntilTheyHaveHappened)
{
    Use(R"({"smbus": {"faults": [{"transaction": 1, "kind": "bus-err"}]}})");
    EXPECT_EQ(Run(kSmbusRead).nExit, 0);
    ASSERT_EQ(Run({"bench", "fault", "smbus", "--kind", "hang", "--nth", "1", "--times", "2"})
                  .Json()["pending"],
              3u);
    for (const int nExit : {1, 8, 8, 0})
        EXPECT_EQ(Run(kSmbusRead).nExit, nExit);
}

TEST_F(Laptop, EcRegistersAreWrittenReadBackAndKept)
{
    for (const char* const pszEc :
         {R"({"ec": {"takeUs": 10000, "answerUs": 10000}})",
          R"({"ec": {"takeUs": 0, "answerUs": 0}})", R"({"ec": {"burst": true}})"}) {
        Use(pszEc);
        EXPECT_EQ(Run(kEcWrite).nExit, 0) << pszEc;
        EXPECT_EQ(EcInModel(0x58), "30");
        const json rows = Run(With(kEcRead, {"--count", "2"})).Json()["registers"];
        ASSERT_EQ(rows.size(), 2u);
        EXPECT_EQ(rows[0]["value"], 0x30);
        EXPECT_EQ(rows[1]["register"], 0x59);
        EXPECT_EQ(rows[1]["value"], 0x31);
    }
}

TEST_F(Laptop, MemoryIsWrittenReadBackAndKept)
{
    ASSERT_EQ(Run(kMemWrite).nExit, 0);
    const json rows = Run({"mem", "read", "--addr", "0x1FFF", "--length", "17"}).Json()["memory"];
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["data"], "00 01 02 03 00 00 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(rows[1]["address"], 0x200F);
    EXPECT_EQ(Run({"mem", "write", "--addr", "0x2001", "--data", "A5", "--yes"}).nExit, 0)
        << "the pattern that buffers begin with is a value as well";
}

TEST_F(Laptop, PortsAreReachedThroughEitherDriver)
{
    for (const char* const pszDriver : {"port", "hub"}) {
        const ToolResult result = Run({"port", "read", "--port", "0xF000", "--driver", pszDriver});
        EXPECT_EQ(result.nExit, 0) << result.strErr;
        EXPECT_EQ(result.Json()["value"], 0xFF) << "nothing is there";
        EXPECT_EQ(Run({"port", "write", "--port", "0xF000", "--value", "0", "--yes", "--driver",
                       pszDriver})
                      .nExit,
                  0);
    }
    const json wide = Run({"port", "read", "--port", "0xCFC", "--width", "4"}).Json();
    EXPECT_EQ(wide["value"], 0xFFFFFFFF) << "all ones are a value, not a failure";
}

TEST_F(Laptop, ListsHidCollectionsAndSaysWhichAreTheMakers)
{
    const auto hid = [](unsigned n, const std::string& strMore) {
        return R"({"id": "h)" + std::to_string(n) + R"(", "parent": "xhci", "port": )" +
               std::to_string(5 + n) + R"(, "hidInstance": )" + std::to_string(50 + n) + strMore +
               "}";
    };
    Use(R"({"hidDevices": [)" + hid(0, R"(, "usagePage": "0xFF70", "usage": "0x20")") + "," +
        hid(1, R"(, "usagePage": "0xFF70", "usage": "0x21")") + "," +
        hid(2, R"(, "usagePage": "0xFF00", "usage": "0x20")") + "," +
        hid(3, R"(, "reportDescriptor": "A1")") + "," + hid(4, R"(, "openError": 5)") + "," +
        hid(5, R"(, "plugged": false)") + "]}");
    const json rows = Run({"hid", "list"}).Json()["hid"];
    ASSERT_EQ(rows.size(), 5u);
    const char* const kKinds[] = {"own", "foreign", "foreign", "unknown", "unknown"};
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i]["instance"], 50 + i);
        EXPECT_EQ(rows[i]["kind"], kKinds[i]) << rows[i];
        EXPECT_EQ(rows[i]["ids"], "0A0B:0C0E");
    }
    EXPECT_EQ(rows[1]["usage"], 0x21);
    EXPECT_THAT(rows[4]["reason"].get<std::string>(), HasSubstr("CreateFile failed 5"));
}

TEST_F(Laptop, EndsAWaitWithoutEndWhenTheTimeIsOver)
{
    Use(R"({"smbus": {"faults": [{"kind": "hang"}]}, "ec": {"hangs": true}})");
    for (const std::vector<std::string>& arguments : {kSmbusWrite, kEcWrite}) {
        const ToolResult result =
            Run(With({"--bench-pace", "0.0001", "--timeout", "0.2"}, arguments));
        EXPECT_EQ(result.nExit, 8);
        EXPECT_THAT(result.strErr, HasSubstr("the time of --timeout is over"));
        EXPECT_THAT(result.Json()["error"]["state"].get<std::string>(),
                    HasSubstr("it is not known whether"));
    }
}
