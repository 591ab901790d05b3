#pragma once

/// The mode that a device is in; the key of its state table.
enum DEVSTATE : int
{
    OFFLINE_STATE = 0, ///< not on the bus
    UNKNOWN_STATE = 1, ///< on the bus, not yet judged
    ROM_STATE = 2,     ///< runs ROM (boot) code
    FLASH_STATE = 3,   ///< runs flash code
    WAIT_STATE = 4     ///< was reset and will come back
};
