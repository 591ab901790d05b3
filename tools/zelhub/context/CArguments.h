#pragma once

#include <memory>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

/// One command's part of the command line. Variables are filled when the line is parsed.
/// Commands that the line does not name are declared without their options and subcommands: to
/// build all of them would take longer than many a command does.
class CArguments
{
public:
    using Value = unsigned long long;

    using Words = std::vector<std::string>;

    /// @param pWords the command line's, any of which may name a command; null: all are named
    explicit CArguments(CLI::App& app, const Words* pWords = nullptr)
        : m_pApp(&app), m_pWords(pWords)
    {}

    /// A command (or a command below this one).
    CArguments Sub(const char* pszName, const char* pszHelp, const char* pszMore = "");

    /// Names are as CLI users know them: "--flash-size", or "IMAGE" for one without dashes.
    void Text(const char* pszName, std::string& strValue, const char* pszHelp,
              bool bRequired = false);
    /// Numbers may be given as 4660 or 0x1234.
    void Number(const char* pszName, Value& nValue, Value nMin, Value nMax, const char* pszHelp,
                bool bRequired = false);
    void Flag(const char* pszName, bool& bValue, const char* pszHelp);
    void Choice(const char* pszName, std::string& strValue, const std::vector<std::string>& choices,
                const char* pszHelp);

    bool Chosen() const; ///< after parsing: the user named this command

private:
    CLI::App* m_pApp;
    const Words* m_pWords;
    bool m_bNamed = true;
};
