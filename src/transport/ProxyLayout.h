#pragma once

#include "wire/ProxyIoctl.h"
#include "wire/Urb.h"

/// The records that a driver of the process's own width takes.
struct NATIVE_LAYOUT
{
    using DeviceRequest = PROXY_DEVICE_REQUEST;
    using UrbRequest = PROXY_URB_REQUEST;
    using PortRequest = PROXY_PORT_REQUEST;
    using MemoryRequest = PROXY_MEMORY_REQUEST;
    using Urb = URB;
};

/// The records that a driver takes from a process under WOW64: to this day the same.
struct WOW64_LAYOUT
{
    using DeviceRequest = PROXY_DEVICE_REQUEST;
    using UrbRequest = PROXY_URB_REQUEST;
    using PortRequest = PROXY_PORT_REQUEST;
    using MemoryRequest = PROXY_MEMORY_REQUEST;
    using Urb = URB;
};

/// Builds one record in the layout that the WOW64 flag asks for; build is a generic callable
/// that gets a value of the layout.
template<class Builder>
auto BuildInLayout(int nWow64, Builder build)
{
    // Deliberate: both sides build the same bytes. The branch is kept for a driver that takes
    // another layout from 32-bit processes.
    if (nWow64 != 0)
        return build(WOW64_LAYOUT{});
    return build(NATIVE_LAYOUT{});
}
