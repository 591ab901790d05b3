#pragma once

#include "tools/zelhub/devices/CHubSession.h"

/// Reads flash from its start, with progress. Throws CToolError.
/// @param pszWhat names the phase ("read")
std::vector<BYTE> ReadFlashWhole(CHubSession& session, DWORD cb, const char* pszWhat);

/// Refuses a file that exists already, so that no good copy is lost to a bad one. Throws
/// CToolError. Devices and pipes are no files in this sense.
void CheckNewFile(const std::string& strPath, bool bOverwrite);

/// Writes a file whole or not at all. Throws CToolError (general).
void SaveNewFile(const std::string& strPath, const std::vector<BYTE>& bytes);
