// Says what a firmware file is: the library reads it, and the device finds the version in it.
#include <api/zelhub.h>
#include <dev/CHubDev.h>
#include <find/CHubFind.h>
#include <flow/CUniversalFlow.h>

#include <iostream>
#include <memory>

int main(int argc, char** argv)
{
    const std::unique_ptr<CHubDev> pHub(GetHubDev());
    CHubFind finder;
    const std::unique_ptr<CUniversalFlow> pFlow(GetUniversalFlow(&finder, pHub.get()));
    USHORT wVersion = 0;
    if (argc < 2 || !pFlow->InitFwFinder(argv[1]) || !pHub->DevReadBINVersion(wVersion, 1))
        return 1;
    std::cout << std::hex << wVersion << '\n';
}
