#include "tools/zelhub/output/CJsonOutput.h"

#include <cstdio>

using nlohmann::ordered_json;

namespace
{

std::string Text(const ordered_json& value, int nIndent)
{
    // Texts come from devices and file names: what is no UTF-8 becomes U+FFFD.
    return value.dump(nIndent, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

ordered_json Json(const CellValue& value)
{
    return std::visit(
        [](const auto& v) -> ordered_json {
            if constexpr (std::is_same_v<std::decay_t<decltype(v)>, std::monostate>)
                return nullptr;
            else
                return v;
        },
        value);
}

ordered_json Object(const std::vector<Field>& fields)
{
    ordered_json object = ordered_json::object();
    for (const Field& field : fields)
        object[field.heading.pszKey] = Json(field.cell.value);
    return object;
}

} // namespace

void CJsonOutput::Show(const char* pszKey, const Table& table)
{
    ordered_json rows = ordered_json::array();
    for (const std::vector<Cell>& row : table.rows) {
        ordered_json object = ordered_json::object();
        for (size_t i = 0; i < row.size(); ++i)
            object[table.columns[i].pszKey] = Json(row[i].value);
        rows.push_back(std::move(object));
    }
    m_data[pszKey] = std::move(rows);
}

void CJsonOutput::Show(const std::vector<Field>& fields)
{
    m_data.update(Object(fields));
}

void CJsonOutput::ShowText(const char* pszKey, const std::string& strText)
{
    m_data[pszKey] = strText;
}

void CJsonOutput::Event(const std::vector<Field>& fields)
{
    m_bEvents = true;
    ordered_json line = {{"schema", kSchema}, {"type", "event"}};
    line.update(Object(fields));
    std::fputs(Text(line, -1).c_str(), stdout);
    std::fflush(stdout);
}

void CJsonOutput::Say(const std::string& strText)
{
    if (m_nVerbosity >= 0)
        Message("info", strText);
}

void CJsonOutput::Detail(const std::string& strText)
{
    if (m_nVerbosity > 0)
        Message("detail", strText);
}

void CJsonOutput::Warn(const std::string& strText)
{
    Message("warning", strText);
}

void CJsonOutput::Progress(const std::string& strPhase, int nPercent, double dRate)
{
    if (m_nVerbosity < 0)
        return;
    ordered_json line = {
        {"schema", kSchema}, {"type", "progress"}, {"phase", strPhase}, {"percent", nPercent}};
    if (dRate > 0)
        line["bytesPerSecond"] = static_cast<long long>(dRate);
    std::fputs(Text(line, -1).c_str(), stderr);
    std::fflush(stderr);
}

bool CJsonOutput::Finish(const std::string& strCommand, ExitCode eCode, const Failure* pFailure)
{
    std::fputs(Document(strCommand, eCode, pFailure).c_str(), stdout);
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

std::string CJsonOutput::Document(const std::string& strCommand, ExitCode eCode,
                                  const Failure* pFailure) const
{
    ordered_json document = {
        {"schema", kSchema}, {"command", strCommand}, {"exit", static_cast<int>(eCode)}};
    document.update(m_data);
    if (pFailure != nullptr) {
        ordered_json error = {{"what", pFailure->strWhat}};
        if (!pFailure->strPhase.empty())
            error["phase"] = pFailure->strPhase;
        if (!pFailure->strState.empty())
            error["state"] = pFailure->strState;
        if (!pFailure->strNext.empty())
            error["next"] = pFailure->strNext;
        document["error"] = std::move(error);
    }
    return Text(document, m_bEvents ? -1 : 2);
}

void CJsonOutput::Message(const char* pszLevel, const std::string& strText) const
{
    const ordered_json line = {
        {"schema", kSchema}, {"type", "message"}, {"level", pszLevel}, {"text", strText}};
    std::fputs(Text(line, -1).c_str(), stderr);
    std::fflush(stderr);
}
