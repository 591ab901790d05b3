#pragma once

#include <iosfwd>
#include <memory>
#include <string>

/// What the tool needs of the operating system beyond the standard library. One source file per
/// system; CMake chooses.
namespace HostSystem
{

/// Whether a stream is a terminal that can redraw a line.
bool IsTerminal(bool bStandardError);
int TerminalWidth(); ///< columns, 80 when it cannot be known

/// Both streams carry the same bytes on every system: UTF-8, lines ended by LF alone.
void PrepareStreams();

/// From now on Ctrl-C (also a request to end, or a hang-up) is counted instead of ending the
/// process; the second one leaves at once with the leave card.
/// A closed pipe no longer ends the process.
void CatchInterrupts();
int Interrupts(); ///< how many so far

/// What an exit in the middle says and returns. Replaced as a whole; safe against an interrupt
/// at any time.
/// @param strError for standard error @param strData for standard output
void SetLeaveCard(const std::string& strError, const std::string& strData, int nExitCode);

/// Ends the process at once with the leave card. Callable from any thread.
[[noreturn]] void LeaveNow(const char* pszReason);

/// A lock that ends with its process, however that ends.
class CProcessLock
{
public:
    virtual ~CProcessLock() = default;
};

enum class LockResult
{
    Held,
    Busy,  ///< another process has it
    Failed ///< the lock file cannot be made; strWhy says it
};

/// @param strName letters, digits, '-', '_' and '.'
/// @param bShared others may hold it shared as well, but nobody for themselves
LockResult TakeLock(const std::string& strName, bool bShared, std::unique_ptr<CProcessLock>& pLock,
                    std::string& strWhy);

/// Writes a whole file. A regular file is replaced only when all bytes were written; anything
/// else (a device, a pipe) is written in place.
/// @param bSync do not return before it has reached the disk
/// @return empty, or what is wrong in words
std::string WriteWhole(const std::string& strPath, const void* pData, size_t cb, bool bSync);

/// Opens a file for its bytes. Where a process that replaces a file has it for itself for a
/// moment, that is waited for, at most 1 s; so do not ask for files that may well not be there.
/// @return a stream that is not open when the file cannot be
std::ifstream OpenToRead(const std::string& strPath);

/// What a user does who may not open a hub.
std::string RightToOpenHint();

/// Whether this system has a service manager that loads driver files.
bool LoadsDrivers();

std::string AbsolutePath(const std::string& strPath);

} // namespace HostSystem
