#pragma once

#include "sim/machine/CSimSystem.h"

#include <memory>
#include <string>

/// The machine that the bench driver plays. A host that shows the machine's device tree builds
/// the same one.
class IBenchBus
{
public:
    IBenchBus() = default;
    IBenchBus(const IBenchBus&) = delete;
    IBenchBus& operator=(const IBenchBus&) = delete;
    virtual ~IBenchBus() = default;

    virtual CSimSystem& System() = 0;

    /// Keeps the machine's state where that was asked for; throws when that fails.
    /// @param bFinal lets what is under way end first
    virtual void Keep(bool bFinal) = 0;
};

/// Builds the machine of a bench file, in the state that is kept in strState (empty: nowhere).
/// The driver is linked with whoever knows such files. Throws when it cannot be built.
std::unique_ptr<IBenchBus> LoadBenchBus(const std::string& strFile, const std::string& strState);
