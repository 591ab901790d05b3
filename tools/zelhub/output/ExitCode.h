#pragma once

/// What the program's exit status says. Documented in docs/tool.md; scripts rely on it.
enum class ExitCode
{
    Done = 0,         ///< also when already current, and for an empty list
    General = 1,      ///< anything without a number of its own
    Usage = 2,        ///< the command line or the bench file
    NoDevice = 3,     ///< no such hub, or none of the maker's
    NoAccess = 4,     ///< it is there, but cannot be reached
    ImageRefused = 5, ///< nothing was touched
    WriteFailed = 6,  ///< erasing or writing failed
    Mismatch = 7,     ///< what is in the hub is not the image
    DeviceLost = 8    ///< it left and is not back
};
