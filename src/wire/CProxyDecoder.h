#pragma once

#include "wire/ControlRequest.h"
#include "wire/ProxyIoctl.h"
#include "wire/Urb.h"

/// A URB that was understood: the control transfer that it stands for.
struct DECODED_URB
{
    SETUP_PACKET setup;
    bool bIn;
    DWORD cbData;
    ULONGLONG dataAddress; ///< in the caller's memory
};

/// Reads the proxy driver's requests strictly: lengths, codes, directions, and every byte that
/// has to be zero. Keeps nothing and allocates nothing, so any driver can use it. Each function
/// returns null, or the reason for a refusal (static text).
class CProxyDecoder
{
public:
    static const char* Open(const CONTROL_REQUEST& request, PROXY_DEVICE_REQUEST* pOut);
    static const char* Close(const CONTROL_REQUEST& request, PROXY_DEVICE_REQUEST* pOut);
    static const char* SendUrb(const CONTROL_REQUEST& request, PROXY_URB_REQUEST* pOut);
    static const char* WritePort(const CONTROL_REQUEST& request, PROXY_PORT_REQUEST* pOut);
    static const char* ReadPort(const CONTROL_REQUEST& request, PROXY_PORT_REQUEST* pOut);
    static const char* WriteMemory(const CONTROL_REQUEST& request, PROXY_MEMORY_REQUEST* pOut);
    static const char* ReadMemory(const CONTROL_REQUEST& request, PROXY_MEMORY_REQUEST* pOut);

    /// Understands a URB as it stands before the driver has written to it.
    static const char* Urb(const URB& urb, DECODED_URB* pOut);
};
