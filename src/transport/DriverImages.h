#pragma once

#include "platform/Types.h"

#include <span>

/// The driver files that the library carries, one for each processor family.
struct DRIVER_IMAGES
{
    std::span<const BYTE> x86;
    std::span<const BYTE> x64;
    std::span<const BYTE> arm64;
};

/// The table in use. Nothing in the library changes it; a test that links statically may put
/// other files in, and put the old ones back.
DRIVER_IMAGES& CarriedDriverImages();

/// The files embedded in this build (sources made when the build is configured).
std::span<const BYTE> EmbeddedDriverX86();
std::span<const BYTE> EmbeddedDriverX64();
std::span<const BYTE> EmbeddedDriverArm64();
