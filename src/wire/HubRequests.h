#pragma once

#include "platform/Types.h"

/* Vendor requests of hubs, of PD controllers behind them and of billboard devices, and the
 * standard ones that the library sends (USB 2.0, 9.4). */
#define REQTYPE_VENDOR_OUT 0x40
#define REQTYPE_VENDOR_IN 0xC0

#define REQ_FW_RESET 0x00         /* out: wValue option, wIndex index */
#define REQ_VDCMD_ENABLE 0x02     /* out: wValue purpose, wIndex VDCMD_ENABLE_KEY */
#define REQ_SET_DL_SLAVE 0x08     /* out: wValue address << 8 | mode */
#define REQ_STATUS 0x09           /* in: 20 bytes */
#define REQ_BB_STATUS 0x0C        /* in: billboard status */
#define REQ_READ_MEM 0x0D         /* in: wIndex address */
#define REQ_WRITE_MEM 0x0E        /* out: wIndex address */
#define REQ_SET_DL_SLAVE_SUB 0x0F /* out: wValue address << 8 | mode */
#define REQ_I2C_WRITE 0xC6        /* out: wValue, wIndex address */
#define REQ_WRITE_FLASH 0xC8      /* out: wValue, wIndex address */
#define REQ_I2C_READ 0xD6         /* in: wValue, wIndex address */
#define REQ_READ_FLASH 0xD8       /* in: wValue, wIndex address */
#define REQ_ISP_VALIDATION 0xD9   /* out: wValue option */
#define REQ_BLOCK_OUT 0xDC        /* out: wValue command << 8 | slave address */
#define REQ_ERASE_FLASH 0xE8      /* out: wValue, wIndex address */
#define REQ_RESET_CODE 0xE9       /* out: wValue b << 8 | a */
#define REQ_BLOCK_IN 0xEC         /* in: wValue as BLOCK_OUT, wIndex offset */
#define REQ_BB_CRC 0xF4           /* in: billboard code check, 1 byte */
#define REQ_I2C_CONFIG 0xF6       /* out, no data */

#define VDCMD_ENABLE_KEY 0x0A7C
#define VDCMD_ENABLE_READ_ERASE 1
#define VDCMD_ENABLE_WRITE 3

#define FLASH_REQUEST_MAX 4096 /* bytes a flash request carries at most */
#define HUB_STATUS_LENGTH 20

#define USB_DESCRIPTOR_DEVICE 1
#define USB_DESCRIPTOR_STRING 3
#define USB_DEVICE_DESCRIPTOR_LENGTH 18
#define HUB_IDENTITY_STRING_INDEX 0x34
