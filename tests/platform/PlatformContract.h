#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/ErrorCodes.h"
#include "platform/IFileSystem.h"
#include "platform/IHostFiles.h"
#include "platform/IProcess.h"
#include "platform/Platform.h"

/// One implementation of the services. What a contract test promises holds for every one.
struct PlatformCase
{
    const char* pszName;
    std::shared_ptr<Platform> (*pfnMake)();
};

std::shared_ptr<Platform> MakeRealPlatform();
std::shared_ptr<Platform> MakeSimulatedPlatform();

inline const PlatformCase kPlatforms[] = {
    {"Real", MakeRealPlatform},
    {"Simulated", MakeSimulatedPlatform},
};

inline std::string PlatformName(const testing::TestParamInfo<PlatformCase>& info)
{
    return info.param.pszName;
}

/// A value that no open handle has. (All bits set would name the process itself on Windows.)
inline HANDLE StrangeHandle()
{
    return reinterpret_cast<HANDLE>(uintptr_t{0x0FEDC0}); // NOLINT(performance-no-int-to-ptr)
}

class PlatformContract : public testing::TestWithParam<PlatformCase>
{
protected:
    DWORD LastError() { return m_pPlatform->Process().LastError(); }
    void SetLastError(DWORD dwError) { m_pPlatform->Process().SetLastError(dwError); }

    std::shared_ptr<Platform> m_pPlatform = GetParam().pfnMake();
};
