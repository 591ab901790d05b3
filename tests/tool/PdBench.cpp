#include "tool/PdBench.h"

#include <algorithm>
#include <cstdio>

nlohmann::json PdBench::State(const std::string& strId) const
{
    const nlohmann::json state = nlohmann::json::parse(m_bench.ReadText("state"));
    for (const nlohmann::json& pd : state[m_strList])
        if (pd["id"] == strId)
            return pd;
    ADD_FAILURE() << "no state of " << strId;
    return {};
}

PdBench::Bytes PdBench::BankOf(const nlohmann::json& pd, unsigned nBank)
{
    const Bytes flash = FlashOf(pd);
    const auto it = flash.begin() + static_cast<std::ptrdiff_t>(nBank * kBankSize);
    return {it, it + kBankSize};
}

bool PdBench::Runs(const nlohmann::json& pd, const std::string& strImage) const
{
    const Bytes image = m_bench.ReadBytes(strImage);
    const Bytes bank = BankOf(pd, pd["activeBank"]);
    return pd["onBus"] == true && pd["runsFlash"] == true && !image.empty() &&
           std::equal(image.begin(), image.end(), bank.begin());
}

ToolResult PdBench::RunPd(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {"--json", m_strCommand});
    const std::vector<std::string> selector = Selector();
    arguments.insert(arguments.end(), selector.begin(), selector.end());
    return m_bench.Run(arguments);
}

std::string PdBench::PdImage(const char* pszVersion) const
{
    (void)m_bench.Image(pszVersion, {"--chip", "0x7310", "--size", "32768"});
    return std::string(pszVersion) + ".bin";
}

std::string PdBench::UsePdFault(const std::string& strFault) const
{
    return R"(, "faults": [{")" + m_strTarget + R"(": "pd", )" + strFault + "}]";
}

void PdBench::BreakUpdates(const std::vector<std::string>& faults)
{
    const std::string strImage = PdImage("0x0222");
    (void)m_bench.Run({m_strCommand, "list"});
    const Bytes old = BankOf(State(), 0);
    for (const std::string& strFault : faults) {
        SCOPED_TRACE(strFault);
        UseBench(UsePdFault(strFault));
        BreakUpdate(strImage, old);
    }
    std::printf("%zu broken updates\n", faults.size());
}

void PdBench::BreakUpdate(const std::string& strImage, const Bytes& old)
{
    const ToolResult first = RunPd({"update", m_bench.Path(strImage)});
    ASSERT_GE(first.nExit, 0) << "it crashed";
    const nlohmann::json state = State();
    EXPECT_EQ(first.nExit == 0, Runs(state, strImage)) << first.strOut << first.strErr;
    Bytes bank = BankOf(state, 0);
    std::copy_n(old.begin() + kMarkAt, 2, bank.begin() + kMarkAt);
    EXPECT_TRUE(bank == old) << "the bank that ran is damaged";
    if (first.nExit == 0)
        return;
    EXPECT_FALSE(first.Json()["error"]["next"].get<std::string>().empty());
    if (state["onBus"] == false)
        (void)m_bench.Run({"bench", "plug", "pd"});
    const ToolResult second = RunPd({"update", m_bench.Path(strImage), "--force"});
    EXPECT_EQ(second.nExit, 0) << second.strOut << second.strErr;
    EXPECT_TRUE(Runs(strImage));
}
