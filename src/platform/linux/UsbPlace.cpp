#include "platform/linux/UsbPlace.h"

#include <charconv>
#include <cstdio>
#include <string_view>

namespace
{
constexpr unsigned kMostPorts = 255;
constexpr int kHex = 16;
constexpr int kDecimal = 10;

/// Takes a number off the front. @return false where there is none
bool TakeNumber(std::string_view* pText, unsigned* pnValue, int nBase = kDecimal)
{
    const char* const pEnd = pText->data() + pText->size();
    const std::from_chars_result result = std::from_chars(pText->data(), pEnd, *pnValue, nBase);
    if (result.ec != std::errc())
        return false;
    pText->remove_prefix(static_cast<std::size_t>(result.ptr - pText->data()));
    return true;
}

bool TakeText(std::string_view* pText, std::string_view strWhat)
{
    if (pText->substr(0, strWhat.size()) != strWhat)
        return false;
    pText->remove_prefix(strWhat.size());
    return true;
}

WString Widen(std::string_view strAscii)
{
    return {strAscii.begin(), strAscii.end()};
}

WString Segment(const WCHAR* pszKind, const WString& strWhat)
{
    return Join({pszKind, WTEXT("("), strWhat, WTEXT(")")});
}

/// "pci0000:00" as "PCIROOT(0)", "0000:00:14.0" as "PCI(1400)", anything else by its name.
WString RouteSegment(const std::string& strName)
{
    constexpr unsigned kBusBits = 8;
    unsigned nDomain = 0;
    unsigned nBus = 0;
    unsigned nDevice = 0;
    unsigned nFunction = 0;
    std::string_view text = strName;
    if (TakeText(&text, "pci") && TakeNumber(&text, &nDomain, kHex) && TakeText(&text, ":") &&
        TakeNumber(&text, &nBus, kHex) && text.empty())
        return Segment(WTEXT("PCIROOT"),
                       WideHex((static_cast<unsigned long long>(nDomain) << kBusBits) | nBus, 1));
    text = strName;
    if (TakeNumber(&text, &nDomain, kHex) && TakeText(&text, ":") &&
        TakeNumber(&text, &nBus, kHex) && TakeText(&text, ":") &&
        TakeNumber(&text, &nDevice, kHex) && TakeText(&text, ".") &&
        TakeNumber(&text, &nFunction, kHex) && text.empty())
        return Segment(WTEXT("PCI"), Join({WideHex(nDevice, 2), WideHex(nFunction, 2)}));
    return Segment(WTEXT("PLATFORM"), PlainText(strName));
}
} // namespace

std::optional<USB_PLACE> UsbPlaceOf(const std::string& strName)
{
    USB_PLACE place;
    std::string_view text = strName;
    if (TakeText(&text, "usb")) {
        if (TakeNumber(&text, &place.nBus) && text.empty() && place.nBus != 0)
            return place;
        return std::nullopt;
    }
    if (!TakeNumber(&text, &place.nBus) || place.nBus == 0 || !TakeText(&text, "-"))
        return std::nullopt;
    do {
        unsigned nPort = 0;
        if (!TakeNumber(&text, &nPort) || nPort == 0 || nPort > kMostPorts)
            return std::nullopt;
        place.ports.push_back(nPort);
    } while (TakeText(&text, "."));
    if (!text.empty())
        return std::nullopt;
    return place;
}

std::string ControllerFolderOf(const std::string& strFolder, unsigned nBus)
{
    const std::string strRootHub = "/usb" + std::to_string(nBus);
    // The last one: a platform device above may have the same name.
    const std::size_t n = (strFolder + "/").rfind(strRootHub + "/");
    return n == std::string::npos ? std::string() : strFolder.substr(0, n);
}

WString ControllerPath(const std::string& strFolder)
{
    WString strPath;
    std::string_view rest = strFolder;
    TakeText(&rest, "devices/");
    TakeText(&rest, "platform/");
    while (!rest.empty()) {
        const std::size_t n = rest.find('/');
        if (!strPath.empty())
            strPath += WTEXT('#');
        strPath += RouteSegment(std::string(rest.substr(0, n)));
        rest.remove_prefix(n == std::string_view::npos ? rest.size() : n + 1);
    }
    return strPath;
}

WString LocationPath(const WString& strController, unsigned nRootHub,
                     const std::vector<unsigned>& ports)
{
    WString strPath =
        Join({strController, WTEXT("#"), Segment(WTEXT("USBROOT"), WideNumber(nRootHub))});
    for (const unsigned nPort : ports)
        strPath += Join({WTEXT("#"), Segment(WTEXT("USB"), WideNumber(nPort))});
    return strPath;
}

WString PlainText(const std::string& strText)
{
    constexpr std::string_view kPlain = "._-:@+,";
    WString strPlain;
    for (const char ch : strText) {
        const bool bPlain = (ch >= '0' && ch <= '9') || (ch >= 'A' && ch <= 'Z') ||
                            (ch >= 'a' && ch <= 'z') || kPlain.find(ch) != std::string_view::npos;
        if (bPlain)
            strPlain += static_cast<WCHAR>(ch);
        else
            strPlain += Join({WTEXT("%"), WideHex(static_cast<unsigned char>(ch), 2)});
    }
    return strPlain;
}

WString Join(std::initializer_list<std::basic_string_view<WCHAR>> parts)
{
    WString strWhole;
    for (const std::basic_string_view<WCHAR> part : parts)
        strWhole += part;
    return strWhole;
}

WString WideNumber(unsigned nValue, unsigned nDigits)
{
    std::string strText = std::to_string(nValue);
    if (strText.size() < nDigits)
        strText.insert(0, nDigits - strText.size(), '0');
    return Widen(strText);
}

WString WideHex(unsigned long long nValue, unsigned nDigits)
{
    char szText[32];
    std::snprintf(szText, sizeof szText, "%0*llX", static_cast<int>(nDigits), nValue);
    return Widen(szText);
}
