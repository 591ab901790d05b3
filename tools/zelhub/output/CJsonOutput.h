#pragma once

#include "tools/zelhub/output/COutput.h"

#include <nlohmann/json.hpp>

/// Output for programs: one JSON document on standard output at the end (events: a line each,
/// the document is the last line), messages and progress as JSON lines on standard error.
class CJsonOutput : public COutput
{
public:
    static constexpr int kSchema = 1; ///< changes when a key changes its meaning or goes

    explicit CJsonOutput(int nVerbosity) : m_nVerbosity(nVerbosity) {}

    void Show(const char* pszKey, const Table& table) override;
    void Show(const std::vector<Field>& fields) override;
    void ShowText(const char* pszKey, const std::string& strText) override;
    void Event(const std::vector<Field>& fields) override;
    void Say(const std::string& strText) override;
    void Detail(const std::string& strText) override;
    void Warn(const std::string& strText) override;
    void Progress(const std::string& strPhase, int nPercent, double dRate) override;
    bool Finish(const std::string& strCommand, ExitCode eCode, const Failure* pFailure) override;
    std::string Document(const std::string& strCommand, ExitCode eCode,
                         const Failure* pFailure) const override;

private:
    void Message(const char* pszLevel, const std::string& strText) const;

    int m_nVerbosity;
    bool m_bEvents = false;
    nlohmann::ordered_json m_data = nlohmann::ordered_json::object();
};
