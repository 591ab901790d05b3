#pragma once

#include "tools/zelhub/context/Options.h"
#include "tools/zelhub/output/COutput.h"

#include <memory>
#include <string>
#include <vector>

class ICommand;

/// Reads the command line, runs the command that it names, and sees to it that every end says
/// what happened and has its exit status.
class CCommandLine
{
public:
    /// @param strDrivers what the library beside the program carries, one line for --version
    explicit CCommandLine(std::string strDrivers);
    ~CCommandLine();
    CCommandLine(const CCommandLine&) = delete;
    CCommandLine& operator=(const CCommandLine&) = delete;

    /// @return the exit status
    int Run(int nArguments, const char* const* ppArguments);

private:
    int RunCommand(ICommand& command, const std::string& strName);
    int UsageError(const std::string& strWhat, const std::string& strCommand);

    std::string m_strDrivers;
    Options m_options;
    std::vector<std::unique_ptr<ICommand>> m_commands;
};
