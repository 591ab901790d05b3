#pragma once

#include "platform/Types.h"

#include <string>
#include <vector>

/// Flash contents as a bench state keeps them: words with a blank between, each either base64 or
/// "*N", N erased bytes. Most of a flash is erased, so this is far shorter than the bytes.
std::string BenchFlashText(const std::vector<BYTE>& bytes);

/// @return false when it is no such text, or stands for more than cbMost bytes
bool ParseBenchFlashText(const std::string& strText, size_t cbMost, std::vector<BYTE>& bytes);
