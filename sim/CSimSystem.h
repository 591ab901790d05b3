#pragma once

#include "sim/CSimAddressSpace.h"
#include "sim/CSimClock.h"
#include "sim/CSimCompanion.h"
#include "sim/CSimDeviceTree.h"
#include "sim/CSimEvents.h"
#include "sim/CSimPolls.h"
#include "sim/CSimPortDriver.h"
#include "sim/CSimProxyDriver.h"
#include "sim/CSimServiceTable.h"
#include "sim/CSimVolume.h"

/// The computer: all that its processes share. Each process is a CSimMachine.
class CSimSystem
{
public:
    CSimSystem();
    CSimSystem(const CSimSystem&) = delete;
    CSimSystem& operator=(const CSimSystem&) = delete;

    CSimClock clock;
    CSimPolls polls{clock};
    CSimDeviceTree tree{clock};
    CSimServiceTable services;
    CSimVolume volume;
    CSimAddressSpace ports{false};
    CSimAddressSpace memory{true};
    CSimProxyDriver proxyDriver{&ports, &memory};
    CSimPortDriver portDriver{ports, memory};
    CSimEvents events;
    CSimCompanion companion{clock, events, tree};
};
