#pragma once

#include "platform/Types.h"

/* What the driver's entry, which is C, asks of the models, which are C++. Nothing is thrown
 * across; all calls come on one thread. */
#ifdef __cplusplus
extern "C"
{
#endif

    /* Builds the bus. Returns 0 on failure. */
    int BenchStart(void);
    void BenchStop(void);

    /* The nodes of the bus; others after an IOCTL_BENCH_LOAD. */
    unsigned BenchNodeCount(void);

    /* The path by which a node's interface is opened, without its first four characters, or
     * null for a node without interface. */
    const WCHAR* BenchNodePath(unsigned nNode);
    int BenchNodeIsThere(unsigned nNode);

    /* One request to "\\.\ZelUpx" or (bControl) to "\\.\ZelBench". Input and output share
     * pBuffer. Returns 0 or the error that the caller gets; *pcbDone: bytes of the output. */
    DWORD BenchRequest(int bControl, DWORD dwProcess, DWORD dwCode, void* pBuffer, DWORD cbIn,
                       DWORD cbOut, DWORD* pcbDone);

#ifdef __cplusplus
}
#endif
