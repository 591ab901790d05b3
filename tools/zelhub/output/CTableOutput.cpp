#include "tools/zelhub/output/CTableOutput.h"

#include "tools/zelhub/output/StateCard.h"

#include <algorithm>
#include <cstdio>

namespace
{

constexpr const char* kRed = "\033[31m";
constexpr const char* kYellow = "\033[33m";
constexpr const char* kPlain = "\033[0m";

// Counts what a terminal shows, not bytes: continuation bytes of UTF-8 take no column.
size_t Columns(const std::string& strText)
{
    return static_cast<size_t>(std::count_if(strText.begin(), strText.end(), [](char ch) {
        return (static_cast<unsigned char>(ch) & 0xC0) != 0x80;
    }));
}

void PrintPadded(const std::string& strText, size_t nWidth, bool bLast)
{
    std::fputs(strText.c_str(), stdout);
    if (bLast) {
        std::fputc('\n', stdout);
        return;
    }
    for (size_t n = Columns(strText); n < nWidth + 2; ++n)
        std::fputc(' ', stdout);
}

} // namespace

void CTableOutput::Show(const char* /*pszKey*/, const Table& table)
{
    if (table.rows.empty()) {
        Say(table.pszEmpty);
        return;
    }
    // Columns without a title are for programs only.
    std::vector<size_t> shown;
    for (size_t i = 0; i < table.columns.size(); ++i)
        if (*table.columns[i].pszTitle != '\0')
            shown.push_back(i);
    std::vector<size_t> widths(table.columns.size());
    for (const size_t i : shown) {
        widths[i] = Columns(table.columns[i].pszTitle);
        for (const std::vector<Cell>& row : table.rows)
            widths[i] = std::max(widths[i], Columns(row[i].strText));
    }
    for (const size_t i : shown)
        PrintPadded(table.columns[i].pszTitle, widths[i], i == shown.back());
    for (const std::vector<Cell>& row : table.rows)
        for (const size_t i : shown)
            PrintPadded(row[i].strText, widths[i], i == shown.back());
}

void CTableOutput::Show(const std::vector<Field>& fields)
{
    size_t nWidth = 0;
    for (const Field& field : fields)
        nWidth = std::max(nWidth, Columns(field.heading.pszTitle) + 1);
    for (const Field& field : fields) {
        PrintPadded(std::string(field.heading.pszTitle) + ":", nWidth, false);
        PrintPadded(field.cell.strText, 0, true);
    }
}

void CTableOutput::ShowText(const char* /*pszKey*/, const std::string& strText)
{
    std::fputs(strText.c_str(), stdout);
}

void CTableOutput::Event(const std::vector<Field>& fields)
{
    for (size_t i = 0; i < fields.size(); ++i)
        PrintPadded(fields[i].cell.strText, Columns(fields[i].cell.strText),
                    i + 1 == fields.size());
    std::fflush(stdout);
}

void CTableOutput::Say(const std::string& strText)
{
    if (m_nVerbosity >= 0)
        Message(nullptr, strText);
}

void CTableOutput::Detail(const std::string& strText)
{
    if (m_nVerbosity > 0)
        Message(nullptr, strText);
}

void CTableOutput::Warn(const std::string& strText)
{
    Message(kYellow, "warning: " + strText);
}

void CTableOutput::Progress(const std::string& strPhase, int nPercent, double /*dRate*/)
{
    if (m_nVerbosity >= 0)
        std::fprintf(stderr, "%3d %% %s\n", nPercent, strPhase.c_str());
}

bool CTableOutput::Finish(const std::string& /*strCommand*/, ExitCode /*eCode*/,
                          const Failure* pFailure)
{
    const bool bWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (pFailure != nullptr)
        Message(kRed, StateCard(*pFailure));
    return bWritten;
}

std::string CTableOutput::Document(const std::string& /*strCommand*/, ExitCode /*eCode*/,
                                   const Failure* /*pFailure*/) const
{
    return {}; // what was to be shown has been shown
}

void CTableOutput::Message(const char* pszColour, const std::string& strText) const
{
    const bool bColour = m_bColour && pszColour != nullptr;
    std::fprintf(stderr, "%s%s%s\n", bColour ? pszColour : "", strText.c_str(),
                 bColour ? kPlain : "");
    std::fflush(stderr);
}
