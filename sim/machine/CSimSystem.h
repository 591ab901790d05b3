#pragma once

#include "sim/machine/CSimAddressSpace.h"
#include "sim/machine/CSimCompanion.h"
#include "sim/machine/CSimDeviceTree.h"
#include "sim/machine/CSimEvents.h"
#include "sim/machine/CSimPolls.h"
#include "sim/machine/CSimPortDriver.h"
#include "sim/machine/CSimProxyDriver.h"
#include "sim/machine/CSimServiceTable.h"
#include "sim/machine/CSimVolume.h"
#include "sim/models/CSimClock.h"

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
