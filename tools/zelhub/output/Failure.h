#pragma once

#include "tools/zelhub/output/ExitCode.h"

#include <exception>
#include <string>
#include <utility>

/// What a person needs to know when something went wrong.
struct Failure
{
    ExitCode eCode = ExitCode::General;
    std::string strWhat;  ///< what happened, one line
    std::string strPhase; ///< in which phase; empty: before there was one
    std::string strState; ///< what state the device is in now; empty: no device is concerned
    std::string strNext;  ///< what to do or type next
};

/// Ends a command. Thrown by the tool's own code only, never through the library.
class CToolError : public std::exception
{
public:
    explicit CToolError(Failure failure) : m_failure(std::move(failure)) {}
    CToolError(ExitCode eCode, std::string strWhat, std::string strNext = {})
        : m_failure{eCode, std::move(strWhat), {}, {}, std::move(strNext)}
    {}

    const Failure& Get() const { return m_failure; }
    const char* what() const noexcept override { return m_failure.strWhat.c_str(); }

private:
    Failure m_failure;
};
