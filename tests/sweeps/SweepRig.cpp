#include "sweeps/SweepRig.h"

#include "cmd/CRequestCMD.h"
#include "platform/IClock.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <numeric>

const Image& OldImage()
{
    static const Image s_image =
        CSimImage(CSimImage::kMinSize + 1).Version(kOldVersion).Seed(1).Build();
    return s_image;
}

const Image& NewImage()
{
    static const Image s_image =
        CSimImage(CSimImage::kMinSize + 1).Version(kNewVersion).Seed(2).Build();
    return s_image;
}

HubBench::HubBench(const SimHubSettings& settings)
    : hub(machine.Time(), settings), node(machine.Tree().AddHub(machine.RootHub(), 1, {}, &hub))
{
    hub.AddPort(&node);
    hub.LoadImage(OldImage());
    machine.HostFiles().UseMemory();
    machine.HostFiles().SetSeparator('/');
    machine.Traits().modulePath = "/opt/host/libZelhublib64.so";
    machine.Driver().KeepLog(false);
    machine.Time().Advance(1'000'000);
    SetCurrentPlatform(&machine);
}

HubBench::~HubBench()
{
    SetCurrentPlatform(nullptr);
}

void HubBench::Heal()
{
    machine.Faults().Clear();
    machine.Handles().CloseAll(); // the next run is another process
    machine.Driver().ClearFaults();
    hub.Faults().Clear();
    machine.Time().Advance(5'000'000); // whoever is on the way back arrives
    if (!hub.IsOnBus())
        hub.PowerUp();
}

CHostRun::CHostRun(HubBench& bench)
{
    CRequestCMD::GetRequestObj()->XH_InitProxyDriver(&m_transport);
    WString strPath = bench.LocationPath();
    m_dev.SetTopo(strPath.data());
    m_finder.Attach(&m_dev);
}

CHostRun::~CHostRun()
{
    m_finder.DummyRemove(&m_dev);
    m_finder.Detach(&m_dev);
    CRequestCMD::GetRequestObj()->XH_UnInitProxyDriver();
}

bool CHostRun::Update(const Image& image)
{
    m_dev.SetFwBuf(image);
    m_bFlowSaidYes = m_flow.DevUpdate();
    const bool bIsBack = m_dev.GetDevState() == m_dev.GetCertainDevState(UNKNOWN_STATE);
    if (m_bFlowSaidYes && bIsBack && RunsImageVersion())
        return true;
    // The step that failed may have been carried out all the same; a device on its way back from
    // a reset needs its time.
    CurrentPlatform().Clock().Sleep(3000);
    m_finder.DummyRemove(&m_dev);
    m_dev.ForceRemove();
    return RunsImageVersion() && m_dev.ReadsBack();
}

bool CHostRun::Erase()
{
    m_bFlowSaidYes = m_flow.DevErase();
    m_dev.SetFwBuf(Image(OldImage().size(), 0xFF));
    return m_bFlowSaidYes && m_dev.GetDevState() == m_dev.GetCertainDevState(ROM_STATE) &&
           m_dev.ReadsBack();
}

bool CHostRun::RunsImageVersion()
{
    USHORT wImage = 0;
    if (!m_dev.DevReadBINVersion(wImage, 1))
        return false;
    USHORT wVersion = static_cast<USHORT>(~wImage); // a query may answer true and give nothing
    return m_flow.DevReadVersion(wVersion) && wVersion == wImage;
}

const std::vector<NamedFault>& UsbFaults()
{
    SimFault lost = {SimFaultKind::Fail};
    lost.bActs = true;
    SimFault timedOut = {SimFaultKind::TimeOut};
    timedOut.bActs = true;
    SimFault corruptEnd = {SimFaultKind::Corrupt};
    corruptEnd.dwOffset = 0xFFFFFFFF;
    corruptEnd.byMask = 0x80;
    SimFault corruptTwice = {SimFaultKind::Corrupt};
    corruptTwice.nTimes = 2; // a flash write's both sendings
    SimFault lieTwice = {SimFaultKind::Lie};
    lieTwice.nTimes = 2;
    SimFault shortLeave = {SimFaultKind::Vanish};
    shortLeave.dwBackMs = 700;
    static const std::vector<NamedFault> s_faults = {
        {"fails", {SimFaultKind::Fail}},
        {"answer lost", lost},
        {"stalls", {SimFaultKind::Stall}},
        {"times out", {SimFaultKind::TimeOut}},
        {"times out after acting", timedOut},
        {"URB status", {SimFaultKind::UrbStatus, 0xC0000004}},
        {"first byte corrupt", {SimFaultKind::Corrupt}},
        {"last byte corrupt", corruptEnd},
        {"corrupt twice", corruptTwice},
        {"lies", {SimFaultKind::Lie}},
        {"lies twice", lieTwice},
        {"vanishes for a moment", shortLeave},
        {"vanishes for good", {SimFaultKind::Vanish}}};
    return s_faults;
}

Places FirstPlaces(std::uint64_t n)
{
    Places places(n);
    std::iota(places.begin(), places.end(), std::uint64_t{0});
    return places;
}

void ForFaults(const std::vector<NamedFault>& faults, const Places& transfers,
               const std::function<void(std::uint64_t n, const SimFault& fault)>& fnRun)
{
    for (const NamedFault& named : faults) {
        for (const std::uint64_t n : transfers) {
            if (testing::Test::HasFailure())
                return;
            SCOPED_TRACE(testing::Message() << named.pszName << " at transfer " << n);
            fnRun(n, named.fault);
        }
    }
}

void ForPowerCuts(const Places& operations,
                  const std::function<void(std::uint64_t n, SimPowerCut eWhen)>& fnRun)
{
    for (const SimPowerCut eWhen : {SimPowerCut::Before, SimPowerCut::Middle, SimPowerCut::After}) {
        for (const std::uint64_t n : operations) {
            if (testing::Test::HasFailure())
                return;
            SCOPED_TRACE(testing::Message() << "power lost at flash operation " << n << ", "
                                            << static_cast<int>(eWhen));
            fnRun(n, eWhen);
        }
    }
}

SweepTally::~SweepTally()
{
    std::printf("%s: %u runs, %u succeeded, %u would have been believed wrongly\n", strName.c_str(),
                nRuns, nSuccess, nBelieved);
}

void SweepTally::Count(bool bSuccess, bool bBelieved)
{
    ++nRuns;
    nSuccess += bSuccess ? 1 : 0;
    nBelieved += !bSuccess && bBelieved ? 1 : 0;
}
