#pragma once

#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

/// A bench with a PD controller "pd", by whatever road it is reached. The state file says what
/// came of the models, which are the judges.
class PdBench : public testing::Test
{
protected:
    using Bytes = std::vector<BYTE>;
    static constexpr size_t kBankSize = 0x20000;
    static constexpr size_t kMarkAt = 0x7EF0;

    /// @param pszCommand "pd" @param pszList of the state file @param pszTarget of its faults
    /// @param pszSelector what chooses it
    PdBench(const char* pszCommand, const char* pszList, const char* pszTarget,
            const char* pszSelector)
        : m_strCommand(pszCommand),
          m_strList(pszList),
          m_strTarget(pszTarget),
          m_strSelector(pszSelector)
    {}

    /// @param strMore members of the file
    virtual void UseBench(const std::string& strMore) = 0;
    void UseBenchWithFault(const std::string& strFault);

    nlohmann::json State() const { return m_bench.StateOf("pd", m_strList); }
    static Bytes BankOf(const nlohmann::json& pd, unsigned nBank);
    bool Runs(const std::string& strImage) const { return CBenchFolder::Runs(strImage, State()); }

    /// As the bench's own, with a command of the PD controller's and its selector.
    ToolResult Expect(int nExit, const std::string& strLine) const;
    void Expect(int nExit, const std::string& strLine, const std::string& strWhat,
                const std::string& strNext = {}, const std::string& strState = {}) const;

    /// An image for it. @return its path
    std::string PdImage(const std::string& strVersion) const;

    /// Updates with each fault: done is said exactly when the model runs the image, the bank that
    /// ran stays as it was but for its mark, and a second update completes.
    void BreakUpdates(const std::vector<std::string>& faults);

    CBenchFolder m_bench;
    std::string m_strImage = PdImage("0x0222");

private:
    void BreakUpdate(const Bytes& old);
    std::string Line(const std::string& strLine) const;

    std::string m_strCommand;
    std::string m_strList;
    std::string m_strTarget;
    std::string m_strSelector;
};
