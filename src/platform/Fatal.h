#pragma once

/// Ends the process: the reason goes to standard error, then the process aborts.
/// Never logs; not to be called while the dispatcher's lock is held.
[[noreturn]] void Fatal(const char* pszReason) noexcept;
