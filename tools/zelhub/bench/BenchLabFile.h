#pragma once

#include "tools/zelhub/bench/BenchLab.h"
#include "tools/zelhub/input/CJsonObject.h"

/// Reads "smbus", "ec" and "memory" of a bench file; what is not there stays as it is.
void ReadBenchLab(CJsonObject& object, BenchLab& lab);

/// Reads "portDriver" of a bench file's machine.
BenchPortDriver ReadBenchPortDriver(CJsonObject& object);

/// Bytes of an object: a number under pszFrom, hex digits under "data".
/// @param bMayBeReadOnly it may have the flag "readOnly"
BenchBytes ReadBenchBytes(CJsonObject object, const char* pszFrom, DWORD dwMost,
                          bool bMayBeReadOnly = false);

/// A fault of the SMBus controller, as bench files and states write it.
BenchSmbusFault ReadBenchSmbusFault(CJsonObject object);

/// Bytes of a text of hex digits. Throws CToolError (usage) where it is none.
std::vector<BYTE> ReadBenchHex(CJsonObject& object, const char* pszKey);
