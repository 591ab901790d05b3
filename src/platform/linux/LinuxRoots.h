#pragma once

#include <string>

/// Where the kernel shows its devices. Tests point both at trees of their own.
struct LINUX_ROOTS
{
    std::string strSys = "/sys";
    std::string strDev = "/dev";
};
