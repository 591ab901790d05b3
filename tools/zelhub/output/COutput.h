#pragma once

#include "tools/zelhub/output/Failure.h"

#include <string>
#include <variant>
#include <vector>

/// What a program gets of a value; nothing is null.
using CellValue =
    std::variant<std::monostate, bool, long long, std::string, std::vector<std::string>>;

/// One value: how people read it and what programs get.
struct Cell
{
    Cell(std::string strShown) : strText(strShown), value(std::move(strShown)) {}
    Cell(const char* pszShown) : Cell(std::string(pszShown)) {}
    Cell(std::string strShown, CellValue v) : strText(std::move(strShown)), value(std::move(v)) {}

    static Cell Number(unsigned long long n)
    {
        return {std::to_string(n), static_cast<long long>(n)};
    }
    static Cell YesNo(bool b) { return {b ? "yes" : "no", b}; }
    /// A text from outside; an empty one counts as none.
    static Cell Optional(const std::string& strText);
    static Cell None(const char* pszShown = "-") { return {pszShown, CellValue()}; }

    std::string strText;
    CellValue value;
};

/// A heading for people and a key for programs.
struct Heading
{
    const char* pszKey;
    const char* pszTitle;
};

struct Table
{
    std::vector<Heading> columns;
    std::vector<std::vector<Cell>> rows;
    const char* pszEmpty = "nothing"; ///< what a person reads when there are no rows
};

struct Field
{
    Heading heading;
    Cell cell;
};

/// Where results and messages go. Data is for standard output, messages for standard error.
/// Nothing is thrown.
class COutput
{
public:
    COutput() = default;
    COutput(const COutput&) = delete;
    COutput& operator=(const COutput&) = delete;
    virtual ~COutput() = default;

    /// Data. Keys name the parts of the JSON document.
    virtual void Show(const char* pszKey, const Table& table) = 0;
    virtual void Show(const std::vector<Field>& fields) = 0;
    virtual void ShowText(const char* pszKey, const std::string& strText) = 0; ///< as it stands

    /// One event of a command that goes on: shown at once (JSON: a line of its own).
    virtual void Event(const std::vector<Field>& fields) = 0;

    /// A message: said unless --quiet, or only with --verbose.
    virtual void Say(const std::string& strText) = 0;
    virtual void Detail(const std::string& strText) = 0;
    virtual void Warn(const std::string& strText) = 0; ///< also with --quiet

    /// A progress step for programs and for streams that are no terminal.
    virtual void Progress(const std::string& strPhase, int nPercent, double dRate) = 0;

    /// A command's end; at most once, last. pFailure is null when all went well.
    /// @return false when the data did not reach standard output
    virtual bool Finish(const std::string& strCommand, ExitCode eCode, const Failure* pFailure) = 0;

    /// What Finish would put on standard output, for an end that cannot wait.
    virtual std::string Document(const std::string& strCommand, ExitCode eCode,
                                 const Failure* pFailure) const = 0;
};

/// "n bytes" as "64 KiB (65536 bytes)".
std::string SizeText(unsigned long long n);
Cell SizeCell(unsigned long long n);

Cell CodeCell(bool bFlashCode); ///< which code a hub runs

/// "0x" and at least nDigits hexadecimal digits, upper case.
std::string Hex(unsigned long long n, int nDigits);

/// "01 2A FF"
std::string HexBytes(const unsigned char* pBytes, size_t cb);

/// Text that a terminal cannot misread: control characters become "?".
std::string Printable(const std::string& strText);
