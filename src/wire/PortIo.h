#pragma once

#include "platform/Types.h"

/* Requests to the port-I/O driver "\\.\voport": device type 0x9C72, buffered. The first four
 * carry port numbers (4 or 8 bytes), the mapped four 8-byte addresses; packed, little-endian. */
#define IOCTL_VOPORT_READ_BYTE 0x9C726400u
#define IOCTL_VOPORT_READ_DWORD 0x9C726408u
#define IOCTL_VOPORT_WRITE_BYTE 0x9C72A440u
#define IOCTL_VOPORT_WRITE_DWORD 0x9C72A448u
#define IOCTL_VOPORT_READ_BYTE_MAPPED 0x9C726800u
#define IOCTL_VOPORT_READ_DWORD_MAPPED 0x9C726808u
#define IOCTL_VOPORT_WRITE_BYTE_MAPPED 0x9C72A840u
#define IOCTL_VOPORT_WRITE_DWORD_MAPPED 0x9C72A848u
