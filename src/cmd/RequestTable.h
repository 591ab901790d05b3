#pragma once

#include "platform/Types.h"

/// The commands that become one vendor request each.
enum HUB_COMMAND : unsigned
{
    CMD_FW_RESET,
    CMD_VDCMD_ENABLE,
    CMD_STATUS,
    CMD_WRITE_FLASH2,
    CMD_READ_FLASH2,
    CMD_ERASE_FLASH2,
    CMD_RESET_CODE,
    CMD_READ_MEM,
    CMD_WRITE_MEM,
    CMD_ISP_VALIDATION,
    CMD_SET_DL_SLAVE_ADDR,
    CMD_SET_DL_SLAVE_ADDR_SUB,
    CMD_BB_WRITE_FLASH2,
    CMD_BB_READ_FLASH2,
    CMD_BB_ERASE_FLASH2,
    CMD_BB_IC_STATUS,
    CMD_BB_ISP_VALIDATION,
    CMD_BB_VDCMD_ENABLE,
    CMD_BB_RESET_TO_FLASH,
    CMD_BB_RESET_TO_ROM,
    CMD_BB_CHECK_CRC,
    CMD_COUNT
};

/// How a command stands on the wire.
struct REQUEST_PAIR
{
    BYTE bmRequestType;
    BYTE bRequest;
};
static_assert(sizeof(REQUEST_PAIR) == 2);

/// The command's entry; the table is the one place that gives a command its wire codes.
const REQUEST_PAIR& RequestOf(HUB_COMMAND eCommand);
