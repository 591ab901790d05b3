#pragma once

#include "tools/zelhub/output/COutput.h"

/// Output for people: tables, "label: value" lines, messages.
class CTableOutput : public COutput
{
public:
    /// @param nVerbosity -1 quiet, 0, 1 verbose @param bColour may use colours on standard error
    CTableOutput(int nVerbosity, bool bColour) : m_nVerbosity(nVerbosity), m_bColour(bColour) {}

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
    void Message(const char* pszColour, const std::string& strText) const;

    int m_nVerbosity;
    bool m_bColour;
};
