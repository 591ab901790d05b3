#pragma once

#include "platform/Export.h"
#include "platform/Platform.h"

/// For benches and tests: makes the library work on another platform, such as a simulated machine
/// (not owned; it must outlive its use; null: the real system again). To be called before the
/// first use of the library, or between XH_UnInitDevice and the next start.
extern "C" ZEL_API void ZEL_CALL ZelSetPlatform(Platform* pPlatform) noexcept;
