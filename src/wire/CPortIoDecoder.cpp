#include "wire/CPortIoDecoder.h"

#include "wire/PortIo.h"

#include <cstring>

namespace
{
constexpr ULONGLONG kHighestPort = 0xFFFF;

struct PORT_IO_KIND
{
    DWORD dwCode;
    bool bWrite;
    bool bMapped;
    DWORD cbValue;
};

constexpr PORT_IO_KIND kKinds[] = {
    {IOCTL_VOPORT_READ_BYTE, false, false, 1},
    {IOCTL_VOPORT_READ_DWORD, false, false, 4},
    {IOCTL_VOPORT_WRITE_BYTE, true, false, 1},
    {IOCTL_VOPORT_WRITE_DWORD, true, false, 4},
    {IOCTL_VOPORT_READ_BYTE_MAPPED, false, true, 1},
    {IOCTL_VOPORT_READ_DWORD_MAPPED, false, true, 4},
    {IOCTL_VOPORT_WRITE_BYTE_MAPPED, true, true, 1},
    {IOCTL_VOPORT_WRITE_DWORD_MAPPED, true, true, 4},
};

const PORT_IO_KIND* KindOf(DWORD dwCode)
{
    for (const PORT_IO_KIND& kind : kKinds)
        if (kind.dwCode == dwCode)
            return &kind;
    return nullptr;
}
} // namespace

bool CPortIoDecoder::Knows(DWORD dwCode)
{
    return KindOf(dwCode) != nullptr;
}

const char* CPortIoDecoder::Decode(const CONTROL_REQUEST& request, DECODED_PORT_IO* pOut)
{
    const PORT_IO_KIND* const pKind = KindOf(request.dwCode);
    if (pKind == nullptr)
        return "the code is not one of the eight";
    const DWORD cbValueIn = pKind->bWrite ? pKind->cbValue : 0;
    const bool bShort = !pKind->bMapped && request.cbIn == 4 + cbValueIn;
    if (request.pIn == nullptr || (!bShort && request.cbIn != 8 + cbValueIn))
        return "the input fits neither layout";
    if (request.cbOut != (pKind->bWrite ? 0 : pKind->cbValue) ||
        (request.cbOut != 0 && request.pOut == nullptr))
        return "the output has not the request's length";

    *pOut = {pKind->bWrite, pKind->bMapped, pKind->cbValue, 0, 0};
    const std::size_t cbAddress = bShort ? 4 : 8;
    std::memcpy(&pOut->address, request.pIn, cbAddress);
    std::memcpy(&pOut->dwValue, static_cast<const BYTE*>(request.pIn) + cbAddress, cbValueIn);
    if (!pOut->bMapped && pOut->address > kHighestPort)
        return "there is no such port";
    return nullptr;
}
