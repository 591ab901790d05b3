#include "tools/zelhub/input/HexInput.h"

#include "tools/zelhub/output/COutput.h"

#include <string_view>

namespace
{

/// @return 0 to 15, or -1 for what is no digit
int Digit(char ch)
{
    constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
    const size_t n = kDigits.find(ch);
    if (n == std::string_view::npos)
        return -1;
    return static_cast<int>(n < 16 ? n : n - 6);
}

} // namespace

std::optional<std::vector<BYTE>> ParseHexBytes(const std::string& strText)
{
    std::vector<BYTE> bytes;
    int nHigh = -1; // the first digit of a byte that waits for its second
    for (const char ch : strText) {
        const int nDigit = Digit(ch);
        if (nDigit >= 0 && nHigh >= 0) {
            bytes.push_back(static_cast<BYTE>(nHigh << 4 | nDigit));
            nHigh = -1;
        } else if (nDigit >= 0) {
            nHigh = nDigit;
        } else if (nHigh >= 0 || (ch != ' ' && ch != ',' && ch != ':')) {
            return std::nullopt;
        }
    }
    if (nHigh >= 0 || bytes.empty())
        return std::nullopt;
    return bytes;
}

std::vector<BYTE> DataOption(const std::string& strText)
{
    std::optional<std::vector<BYTE>> bytes = ParseHexBytes(strText);
    if (!bytes)
        throw CToolError(ExitCode::Usage, "--data \"" + Printable(strText) + "\" is no hex bytes",
                         "Write two digits per byte: --data \"01 2A FF\".");
    return std::move(*bytes);
}
