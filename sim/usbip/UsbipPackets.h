#pragma once

#include "wire/SetupPacket.h"

#include <cstdint>
#include <optional>
#include <vector>

/// Packets of the USB/IP protocol between vhci_hcd and whoever plays the device. All numbers are
/// big-endian but for the setup packet, which travels as on the bus.
inline constexpr size_t kUsbipHeader = 48;

/// Answers' status: negative Linux error numbers.
inline constexpr std::int32_t kUsbipDone = 0;
inline constexpr std::int32_t kUsbipStall = -32;     ///< EPIPE
inline constexpr std::int32_t kUsbipError = -71;     ///< EPROTO
inline constexpr std::int32_t kUsbipUnlinked = -104; ///< ECONNRESET

enum class UsbipCommand : std::uint32_t
{
    Submit = 1,
    Unlink = 2
};

/// What the kernel sends: a transfer to carry out, or one to forget.
struct UsbipRequest
{
    UsbipCommand eCommand = UsbipCommand::Submit;
    std::uint32_t nSequence = 0;
    bool bIn = false;
    std::uint32_t nEndpoint = 0;
    std::uint32_t cbData = 0;  ///< Submit: length of the data stage
    std::uint32_t nVictim = 0; ///< Unlink: the sequence number of the transfer
    SETUP_PACKET setup = {};

    /// Bytes that follow the header.
    size_t Payload() const { return eCommand == UsbipCommand::Submit && !bIn ? cbData : 0; }
};

/// Reads a header of kUsbipHeader bytes. @return nothing when it is no request that is known
std::optional<UsbipRequest> ParseUsbipRequest(const BYTE* pHeader);

/// The answer to a transfer.
/// @param cbActual bytes that moved @param pData they follow when not null (transfers in)
std::vector<BYTE> UsbipSubmitAnswer(std::uint32_t nSequence, std::int32_t nStatus,
                                    std::uint32_t cbActual, const BYTE* pData);

/// The answer to an Unlink: kUsbipUnlinked, or 0 when the transfer was answered before.
std::vector<BYTE> UsbipUnlinkAnswer(std::uint32_t nSequence, std::int32_t nStatus);
