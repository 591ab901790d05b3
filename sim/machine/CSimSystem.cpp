#include "sim/machine/CSimSystem.h"

#include "wire/DriverNames.h"

CSimSystem::CSimSystem()
{
    services.SetDriver(ZELUPX_SERVICE_NAME, &proxyDriver);
    services.SetDriver(VOPORT_SERVICE_NAME, &portDriver);
    volume.SetInUse([this](const WString& strPath) { return services.HasRunningImage(strPath); });
    proxyDriver.SetTimeHook([this](ULONGLONG us) {
        polls.Progress();
        clock.Advance(us);
    });
    ports.SetAccessHook([this] { polls.Poll(); });
    memory.SetAccessHook([this] { polls.Poll(); });
}
