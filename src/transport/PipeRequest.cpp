#include "transport/PipeRequest.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr size_t kMaxIdChars = 200;
constexpr size_t kMaxListChars = 2047; // with every zero character
} // namespace

std::vector<BYTE> BuildPipeRequest(WCHAR* const* ppszIds, int nCount, bool bTurnOn)
{
    WString strList;
    for (int i = 0; i < nCount && strList.size() + 2 <= kMaxListChars; ++i) {
        const size_t nRoom = kMaxListChars - strList.size() - 2; // its zero and the closing one
        const size_t nChars = std::char_traits<WCHAR>::length(ppszIds[i]);
        strList.append(ppszIds[i], std::min({nChars, kMaxIdChars, nRoom}));
        strList.push_back(0);
    }
    strList.push_back(0);

    std::vector<BYTE> request(1 + strList.size() * sizeof(WCHAR));
    request[0] = bTurnOn ? 1 : 0;
    std::memcpy(request.data() + 1, strList.data(), strList.size() * sizeof(WCHAR));
    return request;
}
