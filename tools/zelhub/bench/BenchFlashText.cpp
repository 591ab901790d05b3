#include "tools/zelhub/bench/BenchFlashText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace
{

constexpr BYTE kErased = 0xFF;
constexpr size_t kShortestRun = 32; ///< erased bytes that are worth a word of their own
constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr size_t kBytes = 3; ///< of a group
constexpr size_t kChars = 4;
constexpr char kPadding = '=';

using Iterator = std::vector<BYTE>::const_iterator;

void AppendWord(std::string& strText, const std::string& strWord)
{
    strText += strText.empty() ? "" : " ";
    strText += strWord;
}

std::string Base64(Iterator itFrom, Iterator itTo)
{
    std::string strWord;
    strWord.reserve(static_cast<size_t>(itTo - itFrom) / kBytes * kChars + kChars);
    while (itFrom != itTo) {
        const auto cb = std::min<size_t>(kBytes, static_cast<size_t>(itTo - itFrom));
        DWORD dwGroup = 0;
        for (size_t i = 0; i < kBytes; ++i)
            dwGroup = dwGroup << 8 | (i < cb ? itFrom[static_cast<std::ptrdiff_t>(i)] : 0U);
        for (size_t i = 0; i < kChars; ++i)
            strWord += i <= cb ? kDigits[dwGroup >> (18 - 6 * i) & 63] : kPadding;
        itFrom += static_cast<std::ptrdiff_t>(cb);
    }
    return strWord;
}

constexpr std::array<signed char, 256> ValuesOfDigits()
{
    std::array<signed char, 256> values = {};
    for (signed char& chValue : values)
        chValue = -1;
    for (size_t i = 0; i < kDigits.size(); ++i)
        values[static_cast<unsigned char>(kDigits[i])] = static_cast<signed char>(i);
    return values;
}

bool AppendBase64(std::string_view strWord, std::vector<BYTE>& bytes)
{
    static constexpr std::array<signed char, 256> kValues = ValuesOfDigits();
    if (strWord.size() % kChars != 0)
        return false;
    size_t nPadding = 0;
    while (nPadding < 2 && nPadding < strWord.size() &&
           strWord[strWord.size() - 1 - nPadding] == kPadding)
        ++nPadding;
    for (size_t n = 0; n < strWord.size(); n += kChars) {
        const bool bLast = n + kChars == strWord.size();
        DWORD dwGroup = 0;
        for (size_t i = 0; i < kChars; ++i) {
            const bool bPadding = bLast && i >= kChars - nPadding;
            const int nValue = bPadding ? 0 : kValues[static_cast<unsigned char>(strWord[n + i])];
            if (nValue < 0)
                return false;
            dwGroup = dwGroup << 6 | static_cast<DWORD>(nValue);
        }
        for (size_t i = 0; i < kBytes - (bLast ? nPadding : 0); ++i)
            bytes.push_back(static_cast<BYTE>(dwGroup >> (16 - 8 * i)));
    }
    return true;
}

bool AppendErased(std::string_view strCount, size_t cbMost, std::vector<BYTE>& bytes)
{
    size_t cb = 0;
    const char* const pEnd = strCount.data() + strCount.size();
    const std::from_chars_result result = std::from_chars(strCount.data(), pEnd, cb);
    if (result.ec != std::errc() || result.ptr != pEnd || cb > cbMost - bytes.size())
        return false;
    bytes.insert(bytes.end(), cb, kErased);
    return true;
}

} // namespace

std::string BenchFlashText(const std::vector<BYTE>& bytes)
{
    std::string strText;
    auto itFrom = bytes.begin();
    while (itFrom != bytes.end()) {
        const auto itErased = std::search_n(itFrom, bytes.end(), kShortestRun, kErased);
        if (itErased != itFrom)
            AppendWord(strText, Base64(itFrom, itErased));
        itFrom = std::find_if(itErased, bytes.end(), [](BYTE by) { return by != kErased; });
        if (itFrom != itErased)
            AppendWord(strText, "*" + std::to_string(itFrom - itErased));
    }
    return strText;
}

bool ParseBenchFlashText(const std::string& strText, size_t cbMost, std::vector<BYTE>& bytes)
{
    bytes.clear();
    bytes.reserve(cbMost);
    std::string_view strRest = strText;
    while (!strRest.empty()) {
        const std::string_view strWord = strRest.substr(0, strRest.find(' '));
        strRest.remove_prefix(std::min(strRest.size(), strWord.size() + 1));
        const bool bRead = strWord.substr(0, 1) == "*"
                               ? AppendErased(strWord.substr(1), cbMost, bytes)
                               : AppendBase64(strWord, bytes);
        if (!bRead || bytes.size() > cbMost)
            return false;
    }
    return true;
}
