#pragma once

#include <string>

#include "platform/Types.h"

/// Converts zero-terminated wide text to the system's narrow code page.
std::string ToNarrow(const WCHAR* pszText);

/// Converts up to the first zero character.
std::string ToNarrow(const WString& strText);
