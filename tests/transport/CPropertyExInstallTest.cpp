#include "TransportBench.h"

#include "platform/ErrorCodes.h"
#include "transport/DriverImages.h"
#include "transport/StandInDriver.h"

#include <array>
#include <span>

namespace
{
constexpr const WCHAR* kInstalled = WTEXT("C:\\Windows\\system32\\drivers\\ZelUpx.sys");
constexpr const WCHAR* kTemporary = WTEXT("C:\\Temp\\ZelUpx.sys");
constexpr const WCHAR* kFlag = WTEXT("C:\\Temp\\ZelUpx.flag");
constexpr const WCHAR* kName = WTEXT("ZelUpx");

using Version = std::array<USHORT, 4>;

std::vector<BYTE> Image(const Version& v)
{
    return CSimVolume::VersionedImage(38472, v[0], v[1], v[2], v[3]);
}

/// Lets the library carry another x64 driver while it lives.
class CCarriedVersion
{
public:
    explicit CCarriedVersion(const Version& version) : m_image(Image(version))
    {
        CarriedDriverImages().x64 = m_image;
    }
    CCarriedVersion(const CCarriedVersion&) = delete;
    CCarriedVersion& operator=(const CCarriedVersion&) = delete;
    ~CCarriedVersion() { CarriedDriverImages() = m_before; }

    const std::vector<BYTE>& Bytes() const { return m_image; }

private:
    DRIVER_IMAGES m_before = CarriedDriverImages();
    std::vector<BYTE> m_image;
};

SimService Service(DWORD dwState)
{
    SimService service;
    service.strName = kName;
    service.strImagePath = kInstalled;
    service.dwState = dwState;
    return service;
}
} // namespace

TEST(ProxyDriver, IsInstalledStartedAndMarkedOnFirstUse)
{
    CBench bench;
    ASSERT_EQ(bench.transport.InitProxyDriver(), 1) << bench.log.Dump();

    const auto image = EmbeddedDriverX64();
    const std::vector<BYTE>* const pInstalled = bench.machine.Volume().Data(kInstalled);
    ASSERT_NE(pInstalled, nullptr);
    EXPECT_TRUE(std::equal(pInstalled->begin(), pInstalled->end(), image.begin(), image.end()));
    EXPECT_FALSE(bench.machine.Volume().Exists(kTemporary));
    const SimService* const pService = bench.machine.Services().Find(kName);
    ASSERT_NE(pService, nullptr);
    EXPECT_EQ(pService->strDisplayName, WTEXT("ZelUpx Driver"));
    EXPECT_EQ(pService->strImagePath, kInstalled);
    EXPECT_EQ(pService->dwStart, kServiceDemandStart);
    EXPECT_EQ(pService->dwErrorControl, kServiceErrorIgnore);
    EXPECT_EQ(pService->dwState, kStateRunning);
    EXPECT_EQ(bench.machine.Handles().OpenOf("service"), std::vector<std::string>{});
    EXPECT_TRUE(bench.machine.Volume().Exists(kFlag));
    EXPECT_EQ(bench.machine.Handles().Open().size(), 2u) << bench.machine.Handles().Describe();
}

TEST(ProxyDriver, IsNotTouchedByASecondStartOfTheSameObject)
{
    CBench bench;
    bench.Start();
    EXPECT_EQ(bench.transport.InitProxyDriver(), 1);
    EXPECT_TRUE(bench.log.Lines().empty());
}

TEST(ProxyDriver, IsRemovedByItsLastUserAlone)
{
    CBench first;
    first.Start();
    CSimMachine secondMachine(first.machine.System());
    SetCurrentPlatform(&secondMachine);
    CPropertyEx second;
    ASSERT_EQ(second.InitProxyDriver(), 1);

    EXPECT_EQ(second.XH_UnInitProxyDriver(), 1);
    EXPECT_TRUE(first.machine.Services().IsRunning(kName));
    EXPECT_EQ(secondMachine.Handles().Describe(), "");

    SetCurrentPlatform(&first.machine);
    EXPECT_EQ(first.transport.XH_UnInitProxyDriver(), 1);
    EXPECT_EQ(first.machine.Services().Find(kName), nullptr);
    EXPECT_TRUE(first.machine.Volume().Exists(kInstalled)) << "the driver file is never deleted";
    EXPECT_FALSE(first.machine.Volume().Exists(kFlag));
    EXPECT_EQ(first.machine.Handles().Describe(), "");
    EXPECT_EQ(first.transport.XH_UnInitProxyDriver(), 1) << "releasing twice is harmless";
}

TEST(ProxyDriver, IsClosedWithItsObject)
{
    CBench bench;
    {
        CPropertyEx transport;
        ASSERT_EQ(transport.InitProxyDriver(), 1);
        ASSERT_EQ(transport.KyHub_OpenDeviceByDevInst(CBench::kHub), 0u);
        {
            const CPropertyEx borrower(transport); // NOLINT(performance-*): copying is the point
        }
        EXPECT_EQ(bench.machine.Handles().Open().size(), 3u) << "a copy closes nothing";
    }
    EXPECT_EQ(bench.machine.Handles().Describe(), "");
    EXPECT_TRUE(bench.machine.Handles().Misuses().empty());
}

TEST(CarriedDriver, ReplacesWhateverItExceedsInAnyComponent)
{
    const std::tuple<Version, Version, bool> kCases[] = {// carried, installed, replaced
                                                         {{1, 3, 0, 0}, {1, 2, 0, 9}, true},
                                                         {{1, 2, 0, 9}, {1, 3, 0, 0}, true},
                                                         {{1, 5, 0, 0}, {2, 0, 0, 0}, true},
                                                         {{1, 2, 0, 4}, {1, 2, 0, 5}, false},
                                                         {{1, 2, 0, 5}, {1, 2, 0, 5}, false}};
    for (const auto& [ours, installed, bReplaced] : kCases) {
        SCOPED_TRACE(testing::PrintToString(ours) + " over " + testing::PrintToString(installed));
        CBench bench;
        const CCarriedVersion carried(ours);
        bench.machine.Volume().Put(kInstalled, Image(installed));
        ASSERT_EQ(bench.transport.InitProxyDriver(), 1);
        EXPECT_EQ(bench.machine.Faults().Calls("IFileSystem::Copy"), bReplaced ? 1u : 0u);
        EXPECT_EQ(*bench.machine.Volume().Data(kInstalled),
                  bReplaced ? carried.Bytes() : Image(installed));
        EXPECT_FALSE(bench.machine.Volume().Exists(kTemporary));
    }
}

TEST(ProxyDriver, WithoutReadableVersionIsReplaced)
{
    CBench bench;
    bench.machine.Volume().Put(kInstalled, {'n', 'o', 'n', 'e'});
    ASSERT_EQ(bench.transport.InitProxyDriver(), 1);
    EXPECT_EQ(bench.machine.Volume().Data(kInstalled)->size(), EmbeddedDriverX64().size());
}

TEST(ProxyDriver, ThatCannotBeCopiedEndsTheStartSilently)
{
    CBench bench;
    bench.machine.Faults().FailNext("IFileSystem::Copy", 5);
    EXPECT_EQ(bench.transport.InitProxyDriver(), 0);
    EXPECT_EQ(bench.log.Lines().back(), "0|CPropertyEx::InitProxyDriver|Extracting ZelUpx.sys\n");
    EXPECT_FALSE(bench.machine.Volume().Exists(kTemporary));
    EXPECT_EQ(bench.machine.Handles().Describe(), "");
}

/// What becomes of the service.
struct ServiceCase
{
    const char* pszCase;
    DWORD dwState; ///< 0: there is no service
    int nUpdated;
    int nFlagExists;
    const char* pszFails; ///< the call that is refused, or null
    int nResult;
    std::vector<std::string> log;
};

const std::vector<std::string> kStarted = {"start ZelUpx"};
const std::vector<std::string> kMade = {"create ZelUpx", "start ZelUpx"};
const std::vector<std::string> kReplaced = {"delete ZelUpx", "create ZelUpx", "start ZelUpx"};
const std::vector<std::string> kStoppedAndReplaced = {"stop ZelUpx", "delete ZelUpx",
                                                      "create ZelUpx", "start ZelUpx"};
const ServiceCase kServiceCases[] = {
    {"Missing", 0, 0, 0, nullptr, 1, kMade},
    {"OldAndRunning", kStateRunning, 0, 0, nullptr, 1, {}},
    {"OldAndStopped", kStateStopped, 0, 0, nullptr, 1, kStarted},
    {"NewAndStopped", kStateStopped, 1, 1, nullptr, 1, kReplaced},
    {"NewAndRunning", kStateRunning, 1, 0, nullptr, 1, kStoppedAndReplaced},
    {"NewButUsedByOthers", kStateRunning, 1, 1, nullptr, 1, {}},
    {"NoManager", 0, 0, 0, "OpenManager", 0, {}},
    {"UnopenableCountsAsRunning", kStateStopped, 0, 0, "OpenNamed", 1, {}},
    {"UnopenableCannotBeReplaced", kStateStopped, 1, 0, "OpenNamed", 0, {}},
    {"UnreadableCountsAsRunning", kStateStopped, 0, 0, "Query", 1, {}},
    {"StopRefused", kStateRunning, 1, 0, "Control", 0, {}},
    {"DeleteRefused", kStateStopped, 1, 0, "Remove", 0, {}},
    {"CreateRefused", 0, 0, 0, "Create", 0, {}},
    {"StartRefused", kStateStopped, 0, 0, "Start", 0, {}},
};

TEST(ProxyService, IsPutInOrder)
{
    for (const ServiceCase& c : kServiceCases) {
        SCOPED_TRACE(c.pszCase);
        CBench bench;
        bench.machine.Volume().Put(kInstalled, Image({1, 0, 0, 0}));
        if (c.dwState != 0)
            bench.machine.Services().Put(Service(c.dwState));
        if (c.pszFails != nullptr)
            bench.machine.Faults().FailAlways(std::string("IServiceManager::") + c.pszFails, 5);
        const size_t nBefore = bench.machine.Services().Log().size();
        EXPECT_EQ(bench.Access().Install(kInstalled, c.nUpdated, c.nFlagExists), c.nResult);
        const auto& log = bench.machine.Services().Log();
        EXPECT_EQ(
            std::vector<std::string>(std::next(log.begin(), std::ptrdiff_t(nBefore)), log.end()),
            c.log);
        EXPECT_EQ(bench.machine.Handles().Describe(), "");
    }
}

/// Which machine a process finds itself on.
struct MachineCase
{
    const char* pszCase;
    unsigned nQueries; ///< how many of the two functions the system has, the older one first
    USHORT wNativeMachine;
    USHORT wArchitecture; ///< of the oldest way
    USHORT wProcessMachine;
    MachineType eMachine;
    int nWow64;
};

const MachineCase kMachineCases[] = {
    {"X64", 2, 0x8664, 9, 0, MACHINE_X64, 0},
    {"X86", 2, 0x014C, 9, 0, MACHINE_X86, 0},
    {"Arm64IsOther", 2, 0xAA64, 9, 0, MACHINE_OTHER, 0},
    {"Wow64", 2, 0x8664, 9, 0x014C, MACHINE_X64, 1},
    {"OldX64", 1, 0x8664, 9, 0, MACHINE_X64, 0},
    {"OldX86", 1, 0x8664, 0, 0, MACHINE_X86, 0},
    {"OldArm64IsOther", 1, 0x8664, 12, 0, MACHINE_OTHER, 0},
    {"OldWow64", 1, 0x8664, 9, 0x014C, MACHINE_X64, 1},
    {"Ancient", 0, 0x8664, 9, 0, MACHINE_OTHER, 0},
};

TEST(Processor, IsToldByTheSystem)
{
    for (const MachineCase& c : kMachineCases) {
        SCOPED_TRACE(c.pszCase);
        CBench bench;
        SimProcessTraits& traits = bench.machine.Traits();
        traits.wNativeMachine = c.wNativeMachine;
        traits.wArchitecture = c.wArchitecture;
        traits.wProcessMachine = c.wProcessMachine;
        if (c.nQueries < 2)
            traits.functions.erase("IsWow64Process2");
        if (c.nQueries < 1)
            traits.functions.clear();
        ASSERT_EQ(bench.transport.InitProxyDriver(), 1) << bench.log.Dump();
        EXPECT_EQ(bench.Access().Machine(), c.eMachine);
        EXPECT_EQ(bench.Access().Wow64(), c.nWow64);
        EXPECT_TRUE(bench.machine.Volume().Exists(kInstalled)) << "not into a redirected folder";
        EXPECT_EQ(bench.machine.Process().IsRedirected(), c.nWow64 != 0)
            << "redirection is as before";
    }
}

TEST(Redirection, ThatCannotBeDisabledEndsTheStart)
{
    void (*const kTroubles[])(CBench&) = {
        [](CBench& b) { b.machine.Traits().functions.erase("Wow64DisableWow64FsRedirection"); },
        [](CBench& b) { b.machine.Traits().functions.erase("Wow64RevertWow64FsRedirection"); },
        [](CBench& b) { b.machine.Faults().FailNext("IProcess::DisableRedirection", 1); },
        [](CBench& b) { b.machine.Faults().FailNext("IProcess::LoadModule", 126); },
    };
    for (auto* pfnTrouble : kTroubles) {
        CBench bench;
        bench.machine.Traits().wProcessMachine = 0x014C;
        pfnTrouble(bench);
        EXPECT_EQ(bench.transport.InitProxyDriver(), 0);
        EXPECT_EQ(bench.machine.Faults().Calls("IServiceManager::OpenManager"), 0u);
        EXPECT_EQ(bench.machine.Handles().Describe(), "") << "the module is given back";
    }
}

TEST(StandInDriver, IsAnExecutableOfItsFamilyThatNeverCountsAsNewer)
{
    const auto x86 = stand_in::MakeFile<35912>(stand_in::kX86);
    const auto x64 = stand_in::MakeFile<38472>(stand_in::kX64);
    const auto arm64 = stand_in::MakeFile<39496>(stand_in::kArm64);
    const std::pair<std::span<const BYTE>, int> kFamilies[] = {
        {x86, 0x014C}, {x64, 0x8664}, {arm64, 0xAA64}};
    for (const auto& [image, nMachine] : kFamilies) {
        const size_t nPe = image[0x3C];
        EXPECT_EQ(image[nPe + 4] | image[nPe + 5] << 8, nMachine);
        // The signature of the version record, its own version, and the file's.
        const std::vector<BYTE> record = {0xBD, 0x04, 0xEF, 0xFE, 0, 0, 1, 0,
                                          0,    0,    0,    0,    0, 0, 0, 0};
        EXPECT_NE(std::search(image.begin(), image.end(), record.begin(), record.end()),
                  image.end());
    }
}
