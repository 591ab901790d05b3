#include "tool/PdBench.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

class Billboard : public PdBench
{
protected:
    Billboard() : PdBench(kAsBillboard) {}
};

} // namespace

TEST_F(Billboard, ListShowsWhichAreTheMakersAndWhatIsWrongWithTheOthers)
{
    const nlohmann::json rows = m_bench.Expect(0, "--json billboard list").Json()["billboards"];
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0]["kind"], "billboard");
    EXPECT_EQ(rows[0]["ids"], "5678:BBCD");
    EXPECT_EQ(rows[0]["port"], "1.4");
    EXPECT_EQ(rows[0]["version"], "0x0111");
    EXPECT_EQ(rows[1]["kind"], "renamed");
    EXPECT_EQ(rows[1]["description"], "Billboard Device 2");
    EXPECT_EQ(rows[2]["kind"], "closed");
    m_bench.UseHub();
    const ToolResult none = m_bench.Expect(0, "billboard list");
    EXPECT_THAT(none.strErr + none.strOut, HasSubstr("no billboard devices found"));
}

TEST_F(Billboard, IsChosenOrTheRefusalSaysWhy)
{
    for (const std::string strDevice : {"", "--device #1", "--device port:1.4"})
        m_bench.Expect(0, "billboard version " + strDevice);
    const std::tuple<const char*, int, const char*> kRefusals[] = {
        {"#2", 3,
         "the billboard device at PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(2) is described as "
         "\"Billboard Device 2\", which the library takes for none of the maker's"},
        {"#3", 4,
         "the billboard device at PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(3) cannot be opened"},
        {"inst:31", 3, "there is no billboard device inst:31"},
        {"0x42", 2, "--device \"0x42\" is no selector"},
    };
    for (const auto& [pszDevice, nExit, pszSays] : kRefusals)
        m_bench.Expect(nExit, std::string("billboard version --device ") + pszDevice, pszSays);
    m_bench.Expect(2, "--hub #1 billboard version");
    UseBenchWithFault("'request': 'status', 'kind': 'stall', 'times': 2");
    nlohmann::json rows = m_bench.Type("--json billboard list").Json()["billboards"];
    EXPECT_EQ(rows[0]["kind"], "silent");
    Expect(3, "version"); // it does not answer like one of the maker's
    m_bench.Expect(0, "bench unplug hub");
    m_bench.Expect(4, "billboard version"); // the one that is left is closed
}

TEST_F(Billboard, AnEraseThatErasedNothingIsNoSuccess)
{
    UseBenchWithFault("'request': 'erase', 'kind': 'lie', 'times': 2");
    Expect(6, "erase --yes",
           "the billboard device reported that it erased its flash, but offset 0x000000 of bank 0 "
           "holds 0x0A",
           "Type this again.");
}

TEST_F(Billboard, AControllerThatChecksItselfOtherwiseIsUpdatedAsWell)
{
    for (const std::string strChecks :
         {"'validates': true", "'checksCrc': false, 'timing': {'newInstance': true}"}) {
        m_bench.UseBench("{'schema': 1, 'controllers': [{'id': 'xhci'}], 'billboards': ["
                         "{'id': 'pd', 'parent': 'xhci', 'port': 1, 'instance': 41, " +
                         strChecks + ", 'image': {'version': '0x0111', 'chip': '0x7310'}}]}");
        Expect(0, "update @0x0222.bin");
        EXPECT_TRUE(Runs(m_strImage)) << strChecks;
    }
}

TEST_F(Billboard, TheHubAboveItIsNotRestartedMeanwhile)
{
    m_bench.UseHub("", "",
                   ", 'billboards': [{'id': 'pd', 'parent': 'hub', 'port': 4, 'instance': 41, "
                   "'image': {'version': '0x0111', 'chip': '0x7310'}}]");
    CToolProcess first(m_bench.Arguments(m_bench.Typed(
        "--json --bench-pace 0.02 billboard update @0x0222.bin"))); // ended with its object
    ASSERT_TRUE(first.WaitForError("\"write\""));
    m_bench.Expect(4, "reset", kHubIsTaken);
    m_bench.Expect(4, "billboard erase --yes",
                   "another zelhub is working on the billboard device at PCIROOT(0)#PCI(1400)"
                   "#USBROOT(0)#USB(1)#USB(4), or on what hangs on it");
}
