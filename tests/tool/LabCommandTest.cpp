#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using nlohmann::json;
using testing::_;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

constexpr const char* kSmbusRead = "smbus read --base 0xEFA0 --addr 0x16 --command 0x20";
constexpr const char* kSmbusWrite =
    "smbus write --base 0xEFA0 --addr 0x42 --command 0x10 --data 'DE AD BE' --yes";
constexpr const char* kEcRead = "ec read --reg 0x58";
constexpr const char* kEcWrite = "ec write --reg 0x58 --value 0x30 --yes";
constexpr const char* kMemWrite = "mem write --addr 0x2000 --data 010203 --yes";

/// The example's laptop, changed by a JSON merge patch.
class Laptop : public testing::Test
{
protected:
    Laptop() { Use("{}"); }

    void Use(std::string strPatch)
    {
        std::replace(strPatch.begin(), strPatch.end(), '\'', '"');
        json bench = json::parse(
            CBenchFolder::ReadFile(std::string(ZELHUB_SOURCE_DIR) + "/examples/laptop.json"));
        bench.merge_patch(json::parse(strPatch));
        m_bench.UseBench(bench.dump(1));
    }

    json Document(int nExit, const std::string& strLine) const
    {
        return m_bench.Expect(nExit, "--json " + strLine).Json();
    }

    json State() const { return json::parse(m_bench.ReadText("state")); }

    CBenchFolder m_bench;
};

struct Refusal
{
    int nExit;
    const char* pszLine;
    Said what;
    const char* pszPatch = "{}"; ///< of the laptop
};

const Refusal kRefusals[] = {
    {3, kSmbusRead,
     "no SMBus controller answers at bus 1, device 17, function 1, where the library looks for it",
     "{'smbus': {'present': false}}"},
    {3, kSmbusRead, "at base 0xEFA0 nothing answers", "{'smbus': {'base': '0xE000'}}"},
    {3, kSmbusRead, "at base 0xEFA0 something answers that is no SMBus controller",
     "{'smbus': {'base': '0xE000'}, 'ec': {'commandPort': '0xEFA0', 'dataPort': '0xEFA4'}}"},
    {2, "smbus read --base 0xEFA1 --addr 0x16 --command 1",
     "--base 0xEFA1 cannot be an SMBus controller's"},
    {3, kSmbusRead,
     "the block could not be read from the device at 0x16: it does not answer, does not know "
     "command 0x20, or its packet error code is wrong",
     "{'smbus': {'devices': []}}"},
    {3, "smbus read --base 0xEFA0 --addr 0x5A --command 1",
     "the block could not be read from the device at 0x5A: it does not answer, does not know "
     "command 0x01, or its packet error code is wrong"},
    {6, kSmbusWrite,
     "the block could not be written to the device at 0x42: it does not answer, does not know "
     "command 0x10, or its packet error code is wrong",
     "{'smbus': {'devices': []}}"},
    {1, kSmbusRead,
     "the block could not be read from the device at 0x16: the bus was lost to another master",
     "{'smbus': {'faults': [{'kind': 'bus-err'}]}}"},
    {6, kSmbusWrite, "the block could not be written to the device at 0x42: the controller gave up",
     "{'smbus': {'faults': [{'kind': 'failed'}]}}"},
    {1, "smbus read --base 0xEFA0 --addr 0x16 --command 0x20 --by-byte",
     "the block could not be read from the device at 0x16: the bus was lost to another master",
     "{'smbus': {'faults': [{'kind': 'bus-err'}]}}"},
    {6, kSmbusWrite,
     StartsWith("the block could not be written to the device at 0x42: status 0x40, C"),
     "{'smbus': {'corruptReads': 1000000}}"},
    {8, kSmbusWrite, "the SMBus controller at base 0xEFA0 does not come to an end",
     "{'smbus': {'faults': [{'kind': 'hang'}]}}"},
    {2, "smbus read --base 0xEFA0 --addr 0x17 --command 1",
     "--addr 0x17 is odd: the 8-bit form is even"},
    {2, "smbus read --base 0xEFA0 --addr 0x100 --command 1",
     "--addr: 0x100 is not from 0x10 to 0xEE"},
    {2, "smbus read --base 0xCF0 --addr 0x16 --command 1",
     "--base 0x0CF0 cannot be an SMBus controller's"},
    {2,
     "smbus write --base 0xEFA0 --addr 0x42 --command 1 --yes --data "
     "000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F20",
     "--data has 33 bytes: an SMBus block has at most 32"},
    {2, "smbus write --base 0xEFA0 --addr 0x42 --command 1 --yes --data 1",
     "--data \"1\" is no hex bytes"},
    {2, "smbus write --base 0xEFA0 --addr 0x42 --command 1 --data 01",
     "smbus write can harm the machine: memory modules, battery and voltage regulators hang on that "
     "bus"},
    {4, kSmbusRead, StartsWith("the port driver (voport) could not be started: C"),
     "{'machine': {'portDriver': 'missing'}}"},
    {4, kSmbusWrite, HasSubstr("StartService() FAILED! ==> 5"),
     "{'machine': {'portDriver': 'denied'}}"},
    {4, "port read --port 0x80", HasSubstr("OpenSCManager() FAILED! ==> 120"),
     "{'machine': {'serviceManager': false}}"},
    {4, "port read --port 0x80", StartsWith("port 0x0080 could not be accessed: C"),
     "{'faults': [{'call': 'IDeviceFile::Control', 'nth': 1, 'code': 5}]}"},
    {2, "port write --port 0x80 --value 1",
     "port write can harm the machine: any device may stand behind a port"},
    {2, "port write --port 0x80 --value 0x100 --yes", "--value 0x100 is no byte"},
    {2, "port read --port 0x10000", "--port: 0x10000 is not from 0x00 to 0xFFFF"},
    {2, "port read --port 0xFFFD --width 4", "4 bytes from port 0xFFFD on go beyond port 0xFFFF"},
    {2, "port read --port 0x80 --width 4 --driver hub",
     "the hub driver accesses ports by single bytes only"},
    {3, kEcRead, "nothing answers at command port 0x66", "{'ec': null}"},
    {8, kEcRead, "the embedded controller does not answer at command port 0x66, data port 0x62",
     "{'ec': {'hangs': true}}"},
    {8, kEcWrite, "the embedded controller does not answer at command port 0x66, data port 0x62",
     "{'ec': {'hangs': true}}"},
    {2, "ec read --reg 1 --command-port 0x62 --data-port 0x66",
     "the ports look swapped: command port 0x62, data port 0x66"},
    {8, "ec read --reg 1 --command-port 0x62 --data-port 0x66 --force",
     "the embedded controller does not answer at command port 0x62, data port 0x66"},
    {2, "ec read --reg 1 --data-port 0x66", "command port and data port are the same"},
    {2, "ec read --reg 256", "--reg: 256 is not from 0 to 255"},
    {2, "ec read --reg 0x100", "--reg: 0x100 is not from 0x00 to 0xFF"},
    {2, "ec read --reg 58h", "--reg: \"58h\" is no whole number (12 or 0x0C)"},
    {2, "ec read --reg=-1", "--reg: \"-1\" is no whole number (12 or 0x0C)"},
    {2, "ec read --reg 0x", "--reg: \"0x\" is no whole number (12 or 0x0C)"},
    {2, "ec read --reg 0xFF --count 2", "--count 2 from register 0xFF goes beyond 0xFF"},
    {2, "ec write --reg 1 --value 2",
     "ec write can harm the machine: fans, charging and power hang on that controller"},
    {4, kEcRead, StartsWith("the hub driver could not be started: C"),
     "{'machine': {'serviceManagerError': 5}}"},
    {7, "ec write --reg 1 --value 0x55 --yes",
     "register 0x01 reads back as 0x03, written was 0x55"},
    {7, "mem write --addr 0xFFFF1 --data '5B 55' --yes",
     "memory at 0x000FFFF2 reads back as 0xE0, written was 0x55"},
    {3, "bench fault ec", "ec has no model in which something could go wrong"},
    {2, "bench fault smbus --kind stall", "--kind: stall is no fault of the SMBus controller"},
    {2, "bench fault smbus --nth 1000",
     "--nth and --times go beyond the next 1000 transactions on the SMBus"},
    {3, "bench unplug battery", "battery is built into the machine: it has no plug"},
    {2, "mem read --addr 0xFFFFFFFF --length 2", "2 bytes from 0xFFFFFFFF on are too many"},
    {2, "mem write --addr 0 --data 00", "mem write can harm the machine and what it holds"},
    {4, "mem read --addr 0 --length 1", StartsWith("memory at 0x00000000 could not be accessed: C"),
     "{'faults': [{'call': 'IDeviceFile::Control', 'nth': 1, 'code': 5}]}"},
};

/// @return whether the models hold what kSmbusWrite, kEcWrite or kMemWrite writes
bool IsWritten(const std::string& strLine, const json& state)
{
    if (strLine[0] == 's')
        return state["smbus"]["devices"][1]["blocks"][0]["data"] == "DE AD BE";
    if (strLine[0] == 'e')
        return state["ec"]["registers"].get<std::string>().substr(0x58 * 3, 2) == "30";
    return state["memory"][0]["data"] == "01 02 03";
}

class FailedAccess : public Laptop, public testing::WithParamInterface<std::string>
{};

} // namespace

TEST_F(Laptop, RefusalsSayWhyAndExitAsDocumented)
{
    for (const Refusal& refusal : kRefusals) {
        Use(refusal.pszPatch);
        m_bench.Expect(refusal.nExit, refusal.pszLine, refusal.what);
    }
}

TEST_P(FailedAccess, OfTheDriverIsNeverTakenForSuccess)
{
    const unsigned kMost = 400;
    unsigned n = 1;
    for (; n < kMost; ++n) {
        Use("{'faults': [{'call': 'IDeviceFile::Control', 'code': 5, 'nth': " + std::to_string(n) +
            "}]}");
        const int nExit = m_bench.Type("--json " + GetParam()).nExit;
        if (nExit == 0)
            break; // it makes fewer accesses
        EXPECT_THAT(nExit, testing::AnyOf(1, 4, 6, 8)) << "access " << n;
    }
    EXPECT_TRUE(IsWritten(GetParam(), State())) << "success at " << n;
    EXPECT_GT(n, 2u);
    EXPECT_LT(n, kMost);
    RecordProperty("accesses", static_cast<int>(n - 1));
}

INSTANTIATE_TEST_SUITE_P(In, FailedAccess,
                         testing::Values(std::string(kSmbusWrite) + " --verify",
                                         std::string(kSmbusWrite) + " --by-byte", kEcWrite,
                                         kMemWrite));

TEST_F(Laptop, SmbusBlocksAreReadAndWrittenByBothRoads)
{
    for (const std::string strRoad : {"", " --by-byte"}) {
        json read = Document(0, kSmbusRead + strRoad);
        EXPECT_EQ(read["data"], "53 69 6D 42 61 74");
        EXPECT_EQ(read["address"], 0x16);
        EXPECT_EQ(read["address7"], 0x0B);
        m_bench.Expect(0, kSmbusWrite + strRoad + " --verify");
        EXPECT_TRUE(IsWritten(kSmbusWrite, State()));
        Use("{}");
    }
}

TEST_F(Laptop, SmbusWriteThatCannotBeReadBackIsNoSuccess)
{
    Use("{'smbus': {'faults': [{'transaction': 1, 'kind': 'dev-err'}]}}");
    m_bench.Expect(1, std::string(kSmbusWrite) + " --verify", _,
                   "Check address and command, then type it again.",
                   "the block was written, but not compared");
    EXPECT_TRUE(IsWritten(kSmbusWrite, State()));
}

TEST_F(Laptop, WritesThatDoNotStayAreNoFailureWhereNobodyLooks)
{
    m_bench.Expect(0, "ec write --reg 1 --value 0x55 --yes --no-verify");
    m_bench.Expect(0, "mem write --addr 0xFFFF1 --data '5B 55' --yes --no-verify");
}

TEST_F(Laptop, SmbusFaultsWaitInTheStateUntilTheyHaveHappened)
{
    Use("{'smbus': {'faults': [{'transaction': 1, 'kind': 'bus-err'}]}}");
    m_bench.Expect(0, kSmbusRead);
    EXPECT_EQ(Document(0, "bench fault smbus --kind hang --nth 1 --times 2")["pending"], 3u);
    for (const int nExit : {1, 8, 8, 0})
        m_bench.Expect(nExit, kSmbusRead);
}

TEST_F(Laptop, EcRegistersAreWrittenReadBackAndKept)
{
    for (const char* const pszEc :
         {"{'ec': {'takeUs': 10000, 'answerUs': 10000}}", "{'ec': {'takeUs': 0, 'answerUs': 0}}",
          "{'ec': {'burst': true}}"}) {
        Use(pszEc);
        m_bench.Expect(0, kEcWrite);
        EXPECT_TRUE(IsWritten(kEcWrite, State())) << pszEc;
        const json rows = Document(0, "ec read --reg 0x58 --count 2")["registers"];
        ASSERT_EQ(rows.size(), 2u);
        EXPECT_EQ(rows[0]["value"], 0x30);
        EXPECT_EQ(rows[1]["register"], 0x59);
        EXPECT_EQ(rows[1]["value"], 0x31);
    }
}

TEST_F(Laptop, MemoryIsWrittenReadBackAndKept)
{
    m_bench.Expect(0, kMemWrite);
    const json rows = Document(0, "mem read --addr 0x1FFF --length 17")["memory"];
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["data"], "00 01 02 03 00 00 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(rows[1]["address"], 0x200F);
    // The pattern that buffers begin with is a value as well.
    m_bench.Expect(0, "mem write --addr 0x2001 --data A5 --yes");
}

TEST_F(Laptop, PortsAreReachedThroughEitherDriver)
{
    for (const std::string strDriver : {"port", "hub"}) {
        EXPECT_EQ(Document(0, "port read --port 0xF000 --driver " + strDriver)["value"], 0xFF);
        m_bench.Expect(0, "port write --port 0xF000 --value 0 --yes --driver " + strDriver);
    }
    EXPECT_EQ(Document(0, "port read --port 0xCFC --width 4")["value"], 0xFFFFFFFF)
        << "all ones are a value, not a failure";
}

TEST_F(Laptop, ListsHidCollectionsAndSaysWhichAreTheMakers)
{
    std::string strHids;
    int nPort = 5;
    for (const std::string strMore :
         {"'usagePage': '0xFF70', 'usage': '0x20'", "'usagePage': '0xFF70', 'usage': '0x21'",
          "'usagePage': '0xFF00', 'usage': '0x20'", "'reportDescriptor': 'A1'", "'openError': 5",
          "'plugged': false"}) {
        const std::string strPort = std::to_string(nPort++);
        strHids.append(strHids.empty() ? "{'id': 'h" : ", {'id': 'h").append(strPort);
        strHids.append("', 'parent': 'xhci', 'port': ").append(strPort);
        strHids.append(", 'hidInstance': 5").append(strPort).append(", ").append(strMore + "}");
    }
    Use("{'hidDevices': [" + strHids + "]}");
    const json rows = Document(0, "hid list")["hid"];
    ASSERT_EQ(rows.size(), 5u);
    const char* const kKinds[] = {"own", "foreign", "foreign", "unknown", "unknown"};
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i]["instance"], 55 + i);
        EXPECT_EQ(rows[i]["kind"], kKinds[i]) << rows[i];
        EXPECT_EQ(rows[i]["ids"], "0A0B:0C0E");
    }
    EXPECT_EQ(rows[1]["usage"], 0x21);
    EXPECT_THAT(rows[4]["reason"].get<std::string>(), HasSubstr("CreateFile failed 5"));
}

TEST_F(Laptop, EndsAWaitWithoutEndWhenTheTimeIsOver)
{
    Use("{'smbus': {'faults': [{'kind': 'hang'}]}, 'ec': {'hangs': true}}");
    for (const std::string strLine : {kSmbusWrite, kEcWrite}) {
        const ToolResult result =
            m_bench.Expect(8, "--json --bench-pace 0.0001 --timeout 0.2 " + strLine);
        EXPECT_THAT(result.strErr, HasSubstr("the time of --timeout is over"));
        EXPECT_THAT(result.Json()["error"]["state"].get<std::string>(),
                    HasSubstr("it is not known whether"));
    }
}
