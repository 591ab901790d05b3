#pragma once

#include "platform/Types.h"

#include <array>
#include <functional>
#include <vector>

/// Reads from the open hub that cannot be fooled by a transfer that reports success and moves
/// nothing: buffers begin with a pattern, and one that comes back with it is read again with
/// another.
namespace HubReads
{

/// @param read fills the buffer. @return true for success
/// @return true when read succeeded and its last byte was really written
bool Checked(std::vector<BYTE>& buffer, const std::function<bool(std::vector<BYTE>&)>& read);

using Status = std::array<BYTE, 20>;
bool ReadStatus(Status& status);

/// At most 4096 bytes.
bool ReadFlash(DWORD dwAddr, DWORD cb, std::vector<BYTE>& bytes);

bool RunsFlashCode(const Status& status);
bool IsDualBank(const Status& status);
bool CanValidate(const Status& status);
USHORT RunningVersion(const Status& status);

} // namespace HubReads
