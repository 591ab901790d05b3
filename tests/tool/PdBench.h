#pragma once

#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

/// How a PD controller is reached, and what goes wrong on the way.
struct PdRoad
{
    const char* pszCommand;
    const char* pszList;      ///< of the state file
    const char* pszTarget;    ///< of its faults
    const char* pszSelector;  ///< what chooses it
    const char* pszMembers;   ///< of the bench file
    const char* pszWrongByte; ///< a fault that writes one
    const char* pszWrongAt;
    std::vector<std::string> faults; ///< of an update

    friend void PrintTo(const PdRoad& road, std::ostream* pOut) { *pOut << road.pszCommand; }
};
extern const PdRoad kThroughTheHub; ///< with a neighbour "next" at 0x66
extern const PdRoad kAsBillboard;   ///< among others that are not quite; no hub driver

/// A bench with a PD controller "pd". The state file says what came of the models, which are the
/// judges.
class PdBench : public testing::Test
{
protected:
    using Bytes = std::vector<BYTE>;
    static constexpr size_t kBankSize = 0x20000;
    static constexpr size_t kMarkAt = 0x7EF0;

    explicit PdBench(const PdRoad& road) : m_road(road) { UseBench({}); }

    /// @param strMore members of the file
    void UseBench(const std::string& strMore)
    {
        m_bench.UseHub("", "", m_road.pszMembers + strMore);
    }
    void UseBenchWithFault(const std::string& strFault);

    nlohmann::json State() const { return m_bench.StateOf("pd", m_road.pszList); }
    static Bytes BankOf(const nlohmann::json& pd, unsigned nBank);
    bool Runs(const std::string& strImage) const { return CBenchFolder::Runs(strImage, State()); }

    /// As the bench's own, with a command of the PD controller's and its selector.
    ToolResult Expect(int nExit, const std::string& strLine) const;
    void Expect(int nExit, const std::string& strLine, const Said& what,
                const Said& next = testing::_, const Said& state = testing::_) const;

    /// An image for it. @return its path
    std::string PdImage(const std::string& strVersion) const;

    /// Updates with a fault: done is said exactly when the model runs the image, the bank that ran
    /// stays as it was but for its mark, and a second update completes.
    void BreakUpdate(const std::string& strFault, const Bytes& old);

    const PdRoad& m_road;
    CBenchFolder m_bench;
    std::string m_strImage = PdImage("0x0222");

private:
    std::string Line(const std::string& strLine) const;
};
