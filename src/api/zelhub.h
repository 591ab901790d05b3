#pragma once

/* The plain functions of Zelhublib64, for C and C++. They work on one process-wide set of hub
 * objects; call them from one thread at a time. Unless stated otherwise they need a start by
 * XH_InitDevice before. Nothing is thrown. */

#include "find/HubInfo.h"
#include "platform/Export.h"
#include "platform/Types.h"

#if defined(__cplusplus)
#define ZEL_NOEXCEPT noexcept
class CHubDev;
class CUniversalFlow;
class IDev;
class IDevFinder;
extern "C"
{
#else
#define ZEL_NOEXCEPT
typedef struct CHubDev CHubDev;
typedef struct CUniversalFlow CUniversalFlow;
typedef struct IDev IDev;
typedef struct IDevFinder IDevFinder;
#endif

    /* Starts the library afresh; what an earlier start left is released first, responders that the
     * host attached are forgotten. With bLog the library writes "info.txt" beside its own file; an
     * older one is deleted.
     * Returns true, also when the hub driver could not be started: opening a hub then fails. */
    ZEL_API bool ZEL_CALL XH_InitDevice(bool bLog) ZEL_NOEXCEPT;

    /* Releases everything that XH_InitDevice made, and forgets all responders. Needs no start and
     * may be called twice. Lists handed out before stay the host's. */
    ZEL_API void ZEL_CALL XH_UnInitDevice(void) ZEL_NOEXCEPT;
    ZEL_API void ZEL_CALL XH_ReleaseDevice(void) ZEL_NOEXCEPT; /* the same, with a message */

    /* Lists the maker's hubs: *ppList receives an array of *pdwCount records for XH_FreeAllDevice.
     * Every hub is asked who made it; without elevation that waits for the companion service
     * without limit.
     * Returns true on success; without any hub false with count 0 and *ppList untouched. */
    ZEL_API bool ZEL_CALL XH_ListAllDevice(_Hub_Info** ppList, DWORD* pdwCount) ZEL_NOEXCEPT;

    /* Frees a list of hubs or of ports. Needs no start; null is only logged. */
    ZEL_API void ZEL_CALL XH_FreeAllDevice(_Hub_Info* pList) ZEL_NOEXCEPT;

    /* Binds the process's hub device to a listed hub (DevInst of its record) and waits about 10
     * seconds for it (longer where it does not answer; without elevation, for the companion service
     * without limit); what was open is closed before. Returns true when the hub is open. */
    ZEL_API bool ZEL_CALL XH_OpenDeviceEx2(DWORD dwInst) ZEL_NOEXCEPT;

    /* Closes the hub; the hub device keeps its location. Returns true. */
    ZEL_API bool ZEL_CALL XH_CloseDevice(void) ZEL_NOEXCEPT;

    /* Reads the status block of the hub that is open into the caller's 20 bytes, within 5 seconds.
     * Returns true on success. */
    ZEL_API bool ZEL_CALL XH_DetectHubStatusForTest(BYTE* pBuffer) ZEL_NOEXCEPT;

    /* I2C through the open hub, 5 seconds each; pBuf is the caller's, wLen bytes, not kept.
     * Each returns 1 for success, 0 for failure. */
    ZEL_API DWORD ZEL_CALL XH_I2CConfigImpl(BYTE byA, BYTE byB, BYTE byC) ZEL_NOEXCEPT;
    ZEL_API DWORD ZEL_CALL XH_I2CWriteImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen) ZEL_NOEXCEPT;
    ZEL_API DWORD ZEL_CALL XH_I2CReadImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen) ZEL_NOEXCEPT;

    /* A new hub device that matches every hub until it is told what to match. The caller owns it
     * (in C++: delete). Needs no start. */
    ZEL_API CHubDev* ZEL_CALL GetHubDev(void) ZEL_NOEXCEPT;

    /* A new update flow over a finder and a device attached to it; neither is owned, both must
     * outlive the flow's use. The caller owns the flow (in C++: delete). Needs no start. */
    ZEL_API CUniversalFlow* ZEL_CALL GetUniversalFlow(IDevFinder* pFinder, IDev* pDev) ZEL_NOEXCEPT;

#if defined(__cplusplus)
}
#endif
