#include "tool/PdBench.h"

#include <algorithm>

namespace
{
/// Each kind of fault at each request, after some more.
std::vector<std::string> Faults(std::vector<std::string> faults,
                                const std::vector<std::string>& requests,
                                const std::vector<std::string>& kinds)
{
    for (const std::string& strRequest : requests)
        for (const std::string& strKind : kinds)
            faults.emplace_back("'request': ")
                .append(strRequest)
                .append(", 'kind': '")
                .append(strKind + "'");
    return faults;
}
} // namespace

const PdRoad kThroughTheHub = {
    "pd",
    "pdControllers",
    "pd",
    "--addr 0x42",
    ", 'pdControllers': [{'id': 'pd', 'hub': 'hub', 'address': '0x42', "
    "'image': {'version': '0x0111', 'chip': '0x7310', 'size': 32768}}, "
    "{'id': 'next', 'hub': 'hub', 'address': '0x66', "
    "'image': {'version': '0x0111', 'chip': '0x7310', 'size': 32768, 'seed': 9}}]",
    "'request': 'write-2', 'nth': 10, 'kind': 'corrupt', 'offset': 3",
    "0x000120: image 0xD0, ",
    Faults({"'request': 'reset-to-flash', 'kind': 'fail'",
            "'request': 'reset-to-flash', 'kind': 'lie'",
            "'request': 'status', 'nth': 4, 'kind': 'lie'",
            "'request': 'write-0', 'kind': 'lie'", // the mark
            "'powerCut': 0", "'powerCut': 40", "'powerCut': 700"},
           {"'enable'", "'status'", "'write-2'", "'read-2'", "'crc'"}, {"fail", "lie", "vanish"})};

const PdRoad kAsBillboard = {
    "billboard",
    "billboards",
    "billboard",
    "--device inst:41",
    ", 'machine': {'serviceManagerError': 5}, 'billboards': ["
    "{'id': 'pd', 'parent': 'hub', 'port': 4, 'instance': 41, 'pid': '0xBBCD', "
    "'image': {'version': '0x0111', 'chip': '0x7310', 'size': 32768}}, "
    "{'id': 'renamed', 'parent': 'xhci', 'port': 2, 'instance': 42, "
    "'description': 'Billboard Device 2'}, "
    "{'id': 'closed', 'parent': 'xhci', 'port': 3, 'winUsb': false, "
    "'description': 'BILLBOARD device'}], "
    "'devices': [{'id': 'keyboard', 'parent': 'xhci', 'port': 7}]",
    "'request': 'write-flash', 'nth': 1, 'kind': 'corrupt', 'offset': 3",
    "0x001003: image 0x2D, ",
    Faults({"'request': 'write-flash', 'nth': 8, 'kind': 'lie'", // the mark
            "'request': 'enable', 'nth': 2, 'kind': 'timeout'", "'powerCut': 0", "'powerCut': 4",
            "'powerCut': 8"},
           {"'enable', 'nth': 1", "'status', 'nth': 3", "'erase'", "'write-flash', 'nth': 5",
            "'read-flash', 'nth': 2", "'crc'", "'reset-to-flash'"},
           {"fail", "lie", "timeout", "vanish"})};

void PdBench::UseBenchWithFault(const std::string& strFault)
{
    UseBench(std::string(", 'faults': [{'") + m_road.pszTarget + "': 'pd', " + strFault + "}]");
}

PdBench::Bytes PdBench::BankOf(const nlohmann::json& pd, unsigned nBank)
{
    const Bytes flash = FlashOf(pd);
    const auto it = flash.begin() + static_cast<std::ptrdiff_t>(nBank * kBankSize);
    return {it, it + kBankSize};
}

std::string PdBench::Line(const std::string& strLine) const
{
    return std::string(m_road.pszCommand) + " " + strLine + " " + m_road.pszSelector;
}

ToolResult PdBench::Expect(int nExit, const std::string& strLine) const
{
    return m_bench.Expect(nExit, "--json " + Line(strLine));
}

void PdBench::Expect(int nExit, const std::string& strLine, const Said& what, const Said& next,
                     const Said& state) const
{
    m_bench.Expect(nExit, Line(strLine), what, next, state);
}

std::string PdBench::PdImage(const std::string& strVersion) const
{
    return m_bench.Image(strVersion, "--chip 0x7310 --size 32768");
}

void PdBench::BreakUpdate(const std::string& strFault, const Bytes& old)
{
    SCOPED_TRACE(strFault);
    UseBenchWithFault(strFault);
    const ToolResult first = m_bench.Type("--json " + Line("update @0x0222.bin"));
    ASSERT_GE(first.nExit, 0) << "it crashed";
    const nlohmann::json state = State();
    EXPECT_EQ(first.nExit == 0, CBenchFolder::Runs(m_strImage, state)) << first.strOut;
    Bytes bank = BankOf(state, 0);
    std::copy_n(old.begin() + kMarkAt, 2, bank.begin() + kMarkAt);
    EXPECT_TRUE(bank == old) << "the bank that ran is damaged";
    if (first.nExit == 0)
        return;
    EXPECT_FALSE(first.Json()["error"]["next"].get<std::string>().empty());
    if (state["onBus"] == false)
        (void)m_bench.Type("bench plug pd");
    Expect(0, "update @0x0222.bin --force");
    EXPECT_TRUE(Runs(m_strImage));
}
