#pragma once

#include "platform/Types.h"

/* What a host asks the bench driver over its second control device, "\\.\ZelBench". All codes
 * are buffered, any access. */
#define BENCH_DEVICE_PATH WTEXT("\\\\.\\ZelBench")

#define IOCTL_BENCH_ADVANCE 0x00222004u  /* in: DWORD milliseconds. Lets time pass on the bus. */
#define IOCTL_BENCH_PRESENCE 0x00222008u /* out: one BYTE for each node of the tree, 1 = there */
#define IOCTL_BENCH_LOG 0x0022200Cu      /* in: DWORD offset; out: the request log from there on */
#define IOCTL_BENCH_FORGET_LOG 0x00222010u /* the request log starts anew */

/* in: the paths of a bench file and of its state file (may be empty), each with its zero byte. The
 * driver plays that machine from now on. Fails with 170 while more than one handle of
 * "\\.\ZelUpx" is open, with 13 where the files are no use. */
#define IOCTL_BENCH_LOAD 0x00222014u
#define IOCTL_BENCH_KEEP 0x00222018u /* in: DWORD, not 0: final. Writes the state file. */

/* A node's device; its number in the tree follows. */
#define BENCH_NODE_DEVICE WTEXT("\\Device\\ZelBenchNode")
