#include "DriverRoad.h"
#include "NormalisedLog.h"

#include <fstream>
#include <functional>

namespace
{
Image NewImage()
{
    return CSimImage(0x9123).Version(0x0222).Seed(2).Build();
}

std::string NewImageFile()
{
    const std::string strPath = testing::TempDir() + "zelhub-new.bin";
    const Image image = NewImage();
    std::ofstream(strPath, std::ios::binary)
        .write(reinterpret_cast<const char*>(image.data()),
               static_cast<std::streamsize>(image.size()));
    return strPath;
}

/// What the library does with the simulated machine. @return the requests that the driver got
std::string OnTheSimulatedMachine(CSimMachine& machine, const std::function<void()>& work)
{
    ZelSetPlatform(&machine);
    EXPECT_TRUE(XH_InitDevice(true));
    work();
    XH_UnInitDevice();
    std::string strRequests;
    for (const std::string& strLine : machine.Driver().Lines())
        strRequests += strLine + "\n";
    return strRequests;
}

TEST_F(DriverRoad, ServiceIsMadeStartedStoppedAndDeleted)
{
    ASSERT_EQ(ServiceState(), 0u);
    ASSERT_TRUE(XH_InitDevice(true));
    EXPECT_EQ(ServiceState(), kStateRunning);
    EXPECT_EQ(InstalledVersion(), "1.2.0.5");
    EXPECT_TRUE(HasLogged("Using ZelUpx x64"));

    XH_UnInitDevice();

    EXPECT_EQ(ServiceState(), 0u);
    EXPECT_EQ(InstalledVersion(), "1.2.0.5") << "the file stays";
}

TEST_F(DriverRoad, HubIsListedThroughTheDriver)
{
    ASSERT_TRUE(XH_InitDevice(false));
    _Hub_Info* pHubs = nullptr;
    DWORD dwCount = 0;
    ASSERT_TRUE(XH_ListAllDevice(&pHubs, &dwCount));
    ASSERT_EQ(dwCount, 1u);
    EXPECT_EQ(pHubs[0].DevInst, m_bus.HubNode().DevInst());
    XH_FreeAllDevice(pHubs);
}

// What the two logs say differently, and nothing else: the stamps and the interfaces' handles.
TEST_F(DriverRoad, UpdateSendsAndLogsWhatItDoesOnTheSimulatedMachine)
{
    const std::string strFile = NewImageFile();
    const auto updateAndAsk = [&](CSimNode& node) {
        USHORT wVersion = 0;
        EXPECT_TRUE(BenchJob(node).Update(strFile));
        EXPECT_TRUE(BenchJob(node).pFlow->DevReadVersion(wVersion));
        EXPECT_EQ(wVersion, 0x0222);
    };
    ASSERT_TRUE(XH_InitDevice(true));
    updateAndAsk(m_bus.HubNode());
    const std::string strDriver = m_road.RequestLog();
    XH_UnInitDevice();
    const std::string strReal = NormalisedLog(Log());

    CBenchBus bus;
    CSimMachine machine(bus.Shared());
    machine.HostFiles().UseMemory();
    machine.HostFiles().Put(strFile, NewImage());
    machine.Traits().modulePath = "/host/Zelhublib64.dll";
    WCHAR szTemporary[260] = {};
    Files().TemporaryFolder(szTemporary, 260);
    machine.FileSystem().SetTemporaryFolder(szTemporary);
    machine.Volume().AddFolder(szTemporary);
    const std::string strSimulated =
        OnTheSimulatedMachine(machine, [&] { updateAndAsk(bus.HubNode()); });
    ZelSetPlatform(&m_road);

    EXPECT_TRUE(bus.Hub().Runs(NewImage()));
    EXPECT_GT(strDriver.size(), 1000u);
    EXPECT_EQ(strDriver, strSimulated);
    EXPECT_GT(strReal.size(), 10000u);
    EXPECT_EQ(strReal,
              NormalisedLog(LinesBehindStamps(machine.HostFiles().Text("/host/info.txt"))));
}

TEST_F(DriverRoad, EraseSendsTheDriverWhatItSendsTheSimulatedMachine)
{
    ASSERT_TRUE(XH_InitDevice(false));
    EXPECT_TRUE(BenchJob(m_bus.HubNode()).pFlow->DevErase());
    const std::string strDriver = m_road.RequestLog();
    XH_UnInitDevice();

    CBenchBus bus;
    CSimMachine machine(bus.Shared());
    machine.HostFiles().UseMemory();
    EXPECT_EQ(strDriver, OnTheSimulatedMachine(machine, [&] {
                  EXPECT_TRUE(BenchJob(bus.HubNode()).pFlow->DevErase());
              }));
    ZelSetPlatform(&m_road);
    EXPECT_FALSE(bus.Hub().RunsFlash());
}

struct Installed
{
    const char* pszCase;
    const char* pszThere; ///< the carried one is 1.2.0.5
    const char* pszAfter;
};

const Installed kInstalled[] = {
    {"Equal", "1.2.0.5", "1.2.0.5"},
    {"Older", "1.2.0.4", "1.2.0.5"},
    {"NewerInTheLastPlace", "1.2.0.9", "1.2.0.9"},
    // Deliberate: the comparison is component by component, and 5 exceeds 0.
    {"NewerOnTheWhole", "1.3.0.0", "1.2.0.5"},
};

class InstalledDriver : public DriverRoad, public testing::WithParamInterface<Installed>
{};

TEST_P(InstalledDriver, IsReplacedByComponents)
{
    Install(GetParam().pszThere, InstalledFile());
    ASSERT_EQ(InstalledVersion(), GetParam().pszThere);

    EXPECT_TRUE(XH_InitDevice(true));

    EXPECT_EQ(InstalledVersion(), GetParam().pszAfter);
    const bool bKept = std::string(GetParam().pszThere) == GetParam().pszAfter;
    EXPECT_EQ(HasLogged("Already have newer ZelUpx.sys, don't need to update"), bKept);
    EXPECT_EQ(ServiceState(), kStateRunning);
}

INSTANTIATE_TEST_SUITE_P(Versions, InstalledDriver, testing::ValuesIn(kInstalled),
                         [](const auto& test) { return std::string(test.param.pszCase); });

TEST_F(DriverRoad, DebugFileAlwaysReplacesTheInstalledOne)
{
    const WString strDebug = WTEXT("C:\\ZelUpx.sys");
    Install("1.2.0.9", InstalledFile());
    Install("1.2.0.4", strDebug);

    EXPECT_TRUE(XH_InitDevice(true));
    Files().Remove(strDebug.c_str());

    EXPECT_EQ(InstalledVersion(), "1.2.0.4");
    EXPECT_TRUE(HasLogged("Found C:\\ZelUpx.sys, always using this for debug purpose"));
    EXPECT_EQ(ServiceState(), kStateRunning);
}
} // namespace
