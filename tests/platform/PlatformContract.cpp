#include "PlatformContract.h"

#include "sim/machine/CSimMachine.h"

std::shared_ptr<Platform> MakeRealPlatform()
{
    return {&RealPlatform(), [](Platform*) {}};
}

std::shared_ptr<Platform> MakeSimulatedPlatform()
{
    return std::make_shared<CSimMachine>();
}
