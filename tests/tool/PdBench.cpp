#include "tool/PdBench.h"

#include <algorithm>
#include <cstdio>

void PdBench::UseBenchWithFault(const std::string& strFault)
{
    UseBench(", 'faults': [{'" + m_strTarget + "': 'pd', " + strFault + "}]");
}

PdBench::Bytes PdBench::BankOf(const nlohmann::json& pd, unsigned nBank)
{
    const Bytes flash = FlashOf(pd);
    const auto it = flash.begin() + static_cast<std::ptrdiff_t>(nBank * kBankSize);
    return {it, it + kBankSize};
}

std::string PdBench::Line(const std::string& strLine) const
{
    return m_strCommand + " " + strLine + " " + m_strSelector;
}

ToolResult PdBench::Expect(int nExit, const std::string& strLine) const
{
    return m_bench.Expect(nExit, "--json " + Line(strLine));
}

void PdBench::Expect(int nExit, const std::string& strLine, const std::string& strWhat,
                     const std::string& strNext, const std::string& strState) const
{
    m_bench.Expect(nExit, Line(strLine), strWhat, strNext, strState);
}

std::string PdBench::PdImage(const std::string& strVersion) const
{
    return m_bench.Image(strVersion, "--chip 0x7310 --size 32768");
}

void PdBench::BreakUpdates(const std::vector<std::string>& faults)
{
    (void)m_bench.Type(m_strCommand + " list");
    const Bytes old = BankOf(State(), 0);
    for (const std::string& strFault : faults) {
        SCOPED_TRACE(strFault);
        UseBenchWithFault(strFault);
        BreakUpdate(old);
    }
    std::printf("%zu broken updates\n", faults.size());
}

void PdBench::BreakUpdate(const Bytes& old)
{
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
