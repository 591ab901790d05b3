#include "sim/usbip/UsbipPackets.h"

#include <cstring>

namespace
{

constexpr std::uint32_t kSubmitAnswer = 3;
constexpr std::uint32_t kUnlinkAnswer = 4;

// Offsets within the header.
constexpr size_t kCommand = 0;
constexpr size_t kSequence = 4;
constexpr size_t kDirection = 12;
constexpr size_t kEndpoint = 16;
constexpr size_t kVictim = 20; // Unlink
constexpr size_t kStatus = 20; // answers
constexpr size_t kLength = 24; // Submit and its answer
constexpr size_t kSetup = 40;

std::uint32_t Get(const BYTE* pHeader, size_t nOffset)
{
    const BYTE* const p = pHeader + nOffset;
    return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
           static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}

void Put(std::vector<BYTE>& bytes, size_t nOffset, std::uint32_t n)
{
    for (size_t i = 0; i < 4; ++i)
        bytes[nOffset + i] = static_cast<BYTE>(n >> (24 - 8 * i));
}

std::vector<BYTE> Answer(std::uint32_t nCommand, std::uint32_t nSequence, std::int32_t nStatus)
{
    std::vector<BYTE> bytes(kUsbipHeader);
    Put(bytes, kCommand, nCommand);
    Put(bytes, kSequence, nSequence);
    Put(bytes, kStatus, static_cast<std::uint32_t>(nStatus));
    return bytes;
}

} // namespace

std::optional<UsbipRequest> ParseUsbipRequest(const BYTE* pHeader)
{
    const std::uint32_t nCommand = Get(pHeader, kCommand);
    UsbipRequest request;
    request.nSequence = Get(pHeader, kSequence);
    request.bIn = Get(pHeader, kDirection) != 0;
    request.nEndpoint = Get(pHeader, kEndpoint);
    if (nCommand == static_cast<std::uint32_t>(UsbipCommand::Unlink)) {
        request.eCommand = UsbipCommand::Unlink;
        request.nVictim = Get(pHeader, kVictim);
        return request;
    }
    if (nCommand != static_cast<std::uint32_t>(UsbipCommand::Submit))
        return std::nullopt;
    request.cbData = Get(pHeader, kLength);
    std::memcpy(&request.setup, pHeader + kSetup, sizeof request.setup);
    return request;
}

std::vector<BYTE> UsbipSubmitAnswer(std::uint32_t nSequence, std::int32_t nStatus,
                                    std::uint32_t cbActual, const BYTE* pData)
{
    std::vector<BYTE> bytes = Answer(kSubmitAnswer, nSequence, nStatus);
    Put(bytes, kLength, cbActual);
    if (pData != nullptr)
        bytes.insert(bytes.end(), pData, pData + cbActual);
    return bytes;
}

std::vector<BYTE> UsbipUnlinkAnswer(std::uint32_t nSequence, std::int32_t nStatus)
{
    return Answer(kUnlinkAnswer, nSequence, nStatus);
}
