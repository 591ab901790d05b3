#pragma once

#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <vector>

/// What came of a run of the program.
struct ToolResult
{
    int nExit = -1; ///< exit status; below 0: ended by that signal
    std::string strOut;
    std::string strErr;

    /// Standard output as one JSON document; a failure of the test when it is none.
    nlohmann::json Json() const;
};

/// The real program as a child process, or another one. Its standard input is empty.
class CToolProcess
{
public:
    struct Setting
    {
        std::string strOutFile; ///< standard output goes there instead of into the result
        bool bTerminal = false; ///< standard error is a terminal (not on Windows)
        std::vector<std::string> environment; ///< "NAME=VALUE"
        std::string strProgram = ZELHUB_TOOL;
    };

    explicit CToolProcess(const std::vector<std::string>& arguments);
    CToolProcess(const std::vector<std::string>& arguments, const Setting& setting);
    CToolProcess(const CToolProcess&) = delete;
    CToolProcess& operator=(const CToolProcess&) = delete;
    ~CToolProcess();

    /// Reads standard error until it holds a text. @return false when the program ended before
    bool WaitForError(const std::string& strText);
    void Signal(int nSignal) const; ///< not on Windows

    /// Waits for its end.
    ToolResult Finish();

private:
    struct Child; ///< one source file per system
    void ReadSome(bool bUntilEnd, const std::string& strText);

    std::unique_ptr<Child> m_pChild;
    ToolResult m_result;
};

/// What the tool says on this system to those who may not open a hub, in part.
extern const char* const kRightToOpenHint;

ToolResult RunTool(const std::vector<std::string>& arguments);
