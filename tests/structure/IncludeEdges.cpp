#include "structure/IncludeEdges.h"

#include <regex>
#include <string>

namespace
{
/// A row of the table in docs/architecture.md: files whose path matches the first may include what
/// matches the second. The first row that matches a file decides.
const std::pair<const char*, const char*> kRules[] = {
    {"src/platform/linux/.*", "(platform|wire)/.*"},
    {"src/platform/windows/.*", "platform/.*"},
    {"src/platform/.*", "platform/[^/]*"},
    {"src/wire/.*", "(wire|platform)/[^/]*"},
    {"src/msg/.*", "(msg|platform)/[^/]*"},
    {"src/transport/.*", "(transport|msg|wire|platform)/[^/]*"},
    {"src/cmd/.*", "(cmd|transport|msg|wire|platform)/[^/]*"},
    {"src/find/C[A-Za-z0-9]*Match\\.(h|cpp)",
     "(msg|platform)/[^/]*|dev/IDev\\.h|find/(CDevProperty|IMatch|C[A-Za-z0-9]*Match)\\.h"},
    {"src/find/.*", "(find|cmd|transport|msg|wire|platform)/[^/]*|dev/IDev\\.h"},
    {"src/dev/IDev\\.h", "(dev/DEVSTATE\\.h)|(msg|platform)/[^/]*"},
    {"src/dev/.*", "(dev|cmd|transport|msg|wire|platform)/[^/]*|find/CDevProperty\\.h|"
                   "find/(IMatch|C[A-Za-z0-9]*Match)\\.h|flow/CHubFwFinder\\.h"},
    {"src/flow/[A-Za-z]*FwFinder\\.(h|cpp)", "(msg|platform)/[^/]*|flow/[A-Za-z]*FwFinder\\.h"},
    {"src/flow/.*", "(flow|msg|platform)/[^/]*|dev/IDev\\.h|dev/DEVSTATE\\.h|find/IDevFinder\\.h"},
    {"src/api/.*", "(api|flow|dev|find|cmd|transport|msg|wire|platform)/[^/]*"},
    {"sim/models/.*", "(sim/models|wire|platform)/[^/]*"},
    {"sim/machine/.*", "sim/(models|machine)/.*|(wire|platform)/[^/]*"},
    {"sim/.*", "sim/.*|(wire|platform)/[^/]*"},
    {"tools/zelhub-bench-usbip/.*",
     "tools/zelhub-bench-usbip/.*|tools/zelhub/(bench|input|output)/.*|(sim|wire|platform)/.*"},
    {"tools/zelhub/system/.*", "tools/zelhub/system/.*"},
    {"tools/zelhub/output/.*", "tools/zelhub/(output|system)/.*"},
    {"tools/zelhub/input/.*", "tools/zelhub/(input|output)/.*|platform/[^/]*"},
    {"tools/zelhub/bench/.*",
     "tools/zelhub/(bench|input|output|system)/.*|sim/.*|(api|wire|platform)/[^/]*"},
    {"tools/zelhub/context/.*",
     "tools/zelhub/(context|bench|input|output|system)/.*|(api|msg|platform)/[^/]*"},
    {"tools/zelhub/devices/.*", "tools/zelhub/(devices|context|input|output|system)/.*|"
                                "(api|flow|dev|find|cmd|transport|msg|wire|platform)/[^/]*"},
    {"tools/zelhub/.*",
     "(tools/zelhub|sim)/.*|(api|flow|dev|find|cmd|transport|msg|wire|platform)/[^/]*"},
};

/// What the standard library offers, in C++ and in C.
const std::string kStandardHeaders =
    " "
    "algorithm any array atomic bit bitset cassert cctype cerrno charconv chrono cinttypes "
    "climits clocale cmath compare concepts condition_variable csignal cstdarg cstddef "
    "cstdint cstdio cstdlib cstring ctime cuchar cwchar deque exception filesystem "
    "forward_list fstream functional future initializer_list iomanip ios iosfwd iostream "
    "istream iterator limits list locale map memory memory_resource mutex new numbers numeric "
    "optional ostream queue random ranges ratio regex set shared_mutex span sstream stack "
    "stdexcept streambuf string string_view system_error thread tuple type_traits typeindex "
    "typeinfo unordered_map unordered_set utility variant vector version stdarg.h stdbool.h "
    "stddef.h stdint.h stdio.h stdlib.h string.h uchar.h wchar.h ";

bool SystemHeaderAllowed(const std::string& sPath, const std::string& sHeader)
{
    if (kStandardHeaders.find(" " + sHeader + " ") != std::string::npos)
        return true;
    // The library's services of one system, the few that the tool needs for itself, the
    // sources of the bench drivers that are a driver, and a program for one system alone.
    static const std::regex kOneSystem("src/platform/(linux|windows)/.*|"
                                       "sim/driver/((Mute)?Entry\\.c|CBenchCaller\\.cpp)|"
                                       "tools/zelhub-bench-usbip/[A-Za-z]*\\.cpp|"
                                       "tools/zelhub/system/[A-Za-z]*_(linux|windows)\\.cpp");
    if (std::regex_match(sPath, kOneSystem))
        return true;
    return sPath.rfind("tools/", 0) == 0 &&
           std::regex_match(sHeader, std::regex("(CLI|nlohmann)/.*"));
}
} // namespace

std::string WhyNotAllowed(const SOURCE_LINE& line)
{
    static const std::regex kInclude(R"(\s*#\s*include\s*(["<])([^">]*)[">].*)");
    std::smatch match;
    if (!std::regex_match(line.sText, match, kInclude))
        return {};
    const std::string sTarget = match[2];
    if (match[1] == "<")
        return SystemHeaderAllowed(line.sPath, sTarget) ? "" : "not a header of the standard";
    for (const auto& [sFiles, sTargets] : kRules) {
        if (!std::regex_match(line.sPath, std::regex(sFiles)))
            continue;
        const bool bAllowed = std::regex_match(sTarget, std::regex(sTargets));
        return bAllowed ? std::string() : std::string("the table allows ") + sTargets;
    }
    return "the table has no row for this file";
}
