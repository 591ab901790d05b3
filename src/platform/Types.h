#pragma once

/// Plain types with the widths that the wire and the hosts fix, usable from C and C++.
/// They may stand before or after <windows.h>: every name that both define has the same type.
#include <stdint.h>

#if defined(__cplusplus)
#include <cstddef>
#include <string>
#else
#include <stdbool.h>
#include <stddef.h>
#if !defined(_WIN32)
#include <uchar.h>
#endif
#endif

#if defined(_WIN32)
#include <wchar.h>
typedef unsigned long DWORD;
typedef long LONG;
typedef wchar_t WCHAR;
#else
typedef uint32_t DWORD;
typedef int32_t LONG;
typedef char16_t WCHAR;
#endif
typedef unsigned char BYTE;
typedef unsigned short USHORT;
typedef unsigned long long ULONGLONG;
typedef long long LONGLONG;
typedef void* HANDLE;

#if !defined(GUID_DEFINED)
#define GUID_DEFINED
#if defined(_WIN32)
typedef struct _GUID
{
    unsigned long Data1;
    unsigned short Data2;
    unsigned short Data3;
    unsigned char Data4[8];
} GUID;
#else
typedef struct _GUID
{
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} GUID;
#endif
#endif

#if defined(__cplusplus)

#if defined(_WIN32)
#define ZEL_WIDE_LITERAL(text) L##text
#else
#define ZEL_WIDE_LITERAL(text) u##text
#endif
/// A wide literal of 16-bit characters on every platform.
#define WTEXT(text) ZEL_WIDE_LITERAL(text)

using WString = std::basic_string<WCHAR>;

static_assert(sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(USHORT) == 2);
static_assert(sizeof(WCHAR) == 2, "wide text is 16 bits everywhere");
static_assert(sizeof(GUID) == 16);
static_assert(sizeof(void*) == 8, "builds are 64-bit only");
#if defined(__BYTE_ORDER__)
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "builds are little-endian only");
#endif

/// The handle value that failed opens give: all bits set.
inline HANDLE InvalidHandle() noexcept
{
    return reinterpret_cast<HANDLE>(static_cast<intptr_t>(-1)); // NOLINT(performance-no-int-to-ptr)
}

/// The interface handle as messages print it: its low 32 bits.
inline DWORD HandleBits(HANDLE h) noexcept
{
    return static_cast<DWORD>(reinterpret_cast<uintptr_t>(h));
}

inline bool SameGuid(const GUID& a, const GUID& b) noexcept
{
    bool bSame = a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3;
    for (int i = 0; bSame && i < 8; ++i)
        bSame = a.Data4[i] == b.Data4[i];
    return bSame;
}

#endif
