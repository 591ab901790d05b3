#pragma once

#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

/// A bench with a PD controller, by whatever road it is reached. The state file says what came of
/// the models, which are the judges.
class PdBench : public testing::Test
{
protected:
    using Bytes = std::vector<BYTE>;
    static constexpr size_t kBankSize = 0x20000;
    static constexpr size_t kMarkAt = 0x7EF0;

    /// @param pszCommand "pd" @param pszList of the state file @param pszTarget of its faults
    PdBench(const char* pszCommand, const char* pszList, const char* pszTarget)
        : m_strCommand(pszCommand), m_strList(pszList), m_strTarget(pszTarget)
    {}

    /// @param strMore members of the file
    virtual void UseBench(const std::string& strMore) = 0;
    virtual std::vector<std::string> Selector() const { return {}; }

    /// What the state file says of a PD controller.
    nlohmann::json State(const std::string& strId = "pd") const;
    static Bytes BankOf(const nlohmann::json& pd, unsigned nBank);

    /// It answers, runs flash code, and its bank begins with the image.
    bool Runs(const nlohmann::json& pd, const std::string& strImage) const;
    bool Runs(const std::string& strImage) const { return Runs(State(), strImage); }

    /// A command of the PD controller's, with --json and its selector.
    ToolResult RunPd(std::vector<std::string> arguments) const;

    /// An image for it. @return its name in the folder
    std::string PdImage(const char* pszVersion) const;
    std::string UsePdFault(const std::string& strFault) const;

    /// Updates with each fault: done is said exactly when the model runs the image, the bank that
    /// ran stays as it was but for its mark, and a second update completes.
    void BreakUpdates(const std::vector<std::string>& faults);

    CBenchFolder m_bench;

private:
    void BreakUpdate(const std::string& strImage, const Bytes& old);

    std::string m_strCommand;
    std::string m_strList;
    std::string m_strTarget;
};

inline std::string ErrorOf(const ToolResult& result)
{
    return result.Json()["error"]["what"];
}
