#pragma once

#include "platform/Types.h"

/// Access, sharing, disposition and attribute values of opens, in Windows numbers.
constexpr DWORD kGenericRead = 0x80000000;
constexpr DWORD kGenericWrite = 0x40000000;
constexpr DWORD kAccessDelete = 0x00010000;
constexpr DWORD kShareNone = 0;
constexpr DWORD kShareRead = 1;
constexpr DWORD kShareWrite = 2;
constexpr DWORD kShareDelete = 4;
constexpr DWORD kShareAll = 7;
constexpr DWORD kCreateAlways = 2;
constexpr DWORD kOpenExisting = 3;
constexpr DWORD kOpenAlways = 4;
constexpr DWORD kAttributeDirectory = 0x10;
constexpr DWORD kAttributeNormal = 0x80;
constexpr DWORD kAttributeTemporary = 0x100;
constexpr DWORD kFlagDeleteOnClose = 0x04000000;
constexpr DWORD kFlagOverlapped = 0x40000000;
constexpr DWORD kInvalidAttributes = 0xFFFFFFFF;
