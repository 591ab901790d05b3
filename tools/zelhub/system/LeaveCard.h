#pragma once

#include <cstddef>

/// What a program that is left at once still says.
struct LeaveText
{
    char text[4096];
    size_t cb;
};

struct LeaveCard
{
    LeaveText error; ///< for standard error
    LeaveText data;  ///< for standard output
    int nExitCode;
};

/// The card that HostSystem::SetLeaveCard() gave last. May be called from a signal handler, also
/// in the middle of a SetLeaveCard().
const LeaveCard& CurrentLeaveCard();
