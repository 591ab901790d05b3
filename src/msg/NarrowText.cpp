#include "msg/NarrowText.h"

#include "platform/IProcess.h"
#include "platform/Platform.h"

std::string ToNarrow(const WCHAR* pszText)
{
    IProcess& process = CurrentPlatform().Process();
    const int nNeeded = process.NarrowText(pszText, -1, nullptr, 0);
    if (nNeeded <= 1)
        return {};
    std::string strOut(static_cast<std::size_t>(nNeeded), '\0');
    const int nWritten = process.NarrowText(pszText, -1, strOut.data(), nNeeded);
    strOut.resize(nWritten > 0 ? static_cast<std::size_t>(nWritten) - 1 : 0);
    return strOut;
}

std::string ToNarrow(const WString& strText)
{
    return ToNarrow(strText.c_str());
}
