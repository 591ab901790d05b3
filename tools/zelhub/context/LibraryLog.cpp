#include "tools/zelhub/context/LibraryLog.h"

#include "msg/CLogResponder.h"
#include "tools/zelhub/output/Failure.h"

#include <array>
#include <cstring>

void CheckLibraryLog()
{
    constexpr size_t kFits = 240;
    std::array<char, 1024> path = {};
    if (!CLogResponder::GetSelfModulePath(path.data()) || std::strlen(path.data()) > kFits)
        throw CToolError(ExitCode::General,
                         "--library-log: the library lies in a folder whose path is too long",
                         "Install it in a folder with a shorter path, or use --log FILE.");
}
