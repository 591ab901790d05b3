#pragma once

#include <cstdint>

#include "platform/Types.h"

/// A descriptor as a handle: never null, never InvalidHandle().
inline HANDLE HandleFromDescriptor(int nDescriptor)
{
    if (nDescriptor < 0)
        return InvalidHandle();
    return reinterpret_cast<HANDLE>( // NOLINT(performance-no-int-to-ptr)
        static_cast<std::intptr_t>(nDescriptor) + 1);
}

inline int DescriptorFromHandle(HANDLE hFile)
{
    if (hFile == nullptr || hFile == InvalidHandle())
        return -1;
    return static_cast<int>(reinterpret_cast<std::intptr_t>(hFile) - 1);
}
