#include "tools/zelhub/context/Options.h"

#include <algorithm>
#include <string_view>

std::string ShellWord(const std::string& strWord)
{
    constexpr std::string_view kHarmless = "-_./:=,@%+0123456789"
                                           "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const bool bHarmless =
        !strWord.empty() && std::all_of(strWord.begin(), strWord.end(), [&](char ch) {
            return kHarmless.find(ch) != std::string_view::npos;
        });
    if (bHarmless)
        return strWord;
    std::string strQuoted = "'";
    for (const char ch : strWord) {
        if (ch == '\'')
            strQuoted += "'\\''";
        else
            strQuoted += ch;
    }
    return strQuoted + "'";
}

std::string CommandPrefix(const Options& options)
{
    std::string strPrefix = "zelhub";
    if (!options.strBench.empty())
        strPrefix += " --bench " + ShellWord(options.strBench);
    if (!options.strBenchState.empty())
        strPrefix += " --bench-state " + ShellWord(options.strBenchState);
    if (options.strRoad == "driver")
        strPrefix += " --bench-road driver";
    return strPrefix;
}
