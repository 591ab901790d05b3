// Runs UpdateHub on a simulated machine with one hub. A host for real hubs leaves out the machine
// and takes the location from XH_ListAllDevice.
#include "UpdateHub.h"

#include <api/zelhub_bench.h>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "sim/machine/CSimMachine.h"
#include "sim/models/CSimHub.h"
#include "sim/models/CSimImage.h"

int main()
{
    CSimMachine machine;
    machine.InstallRunningDriver();
    const SimHubSettings settings;
    CSimHub hub(machine.Time(), settings);
    CSimNode& node = machine.Tree().AddHub(machine.RootHub(), 1, {}, &hub);
    hub.AddPort(&node);
    hub.LoadImage(CSimImage().Version(0x0100).Build());
    ZelSetPlatform(&machine);

    const std::vector<BYTE> image = CSimImage().Version(0x0200).Seed(2).Build();
    const auto path = std::filesystem::temp_directory_path() / "zelhub-example.bin";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(image.data()),
               static_cast<std::streamsize>(image.size()));

    const bool bUpdated = UpdateHub(node.Traits().locationPaths.front(), path.string());
    std::filesystem::remove(path);
    ZelSetPlatform(nullptr);

    std::cout << (bUpdated ? "updated\n" : "not updated\n");
    return bUpdated && hub.Runs(image) ? 0 : 1; // the hub itself has the last word
}
