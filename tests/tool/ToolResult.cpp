#include "tool/ToolProcess.h"

#include <gtest/gtest.h>

nlohmann::json ToolResult::Json() const
{
    nlohmann::json document = nlohmann::json::parse(strOut, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << "no JSON: " << strOut;
    return document;
}

CToolProcess::CToolProcess(const std::vector<std::string>& arguments)
    : CToolProcess(arguments, Setting())
{}

ToolResult RunTool(const std::vector<std::string>& arguments)
{
    return CToolProcess(arguments).Finish();
}
