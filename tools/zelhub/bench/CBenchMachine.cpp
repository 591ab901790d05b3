#include "tools/zelhub/bench/CBenchMachine.h"

#include "tools/zelhub/input/CImageFile.h"
#include "tools/zelhub/output/COutput.h"
#include "tools/zelhub/output/Failure.h"
#include "wire/HubRequests.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace
{

constexpr double kMicrosPerSecond = 1e6;
constexpr CSimClock::Micros kMicrosPerMs = 1000;
constexpr CSimClock::Micros kSettleLimit = 120'000'000;
constexpr BYTE kClassHub = 9;
constexpr BYTE kClassBillboard = 0x11;

WString Wide(const std::string& strText)
{
    return {strText.begin(), strText.end()}; // bench texts are ASCII
}

std::vector<WString> Wide(const std::vector<std::string>& texts)
{
    std::vector<WString> wide;
    wide.reserve(texts.size());
    for (const std::string& strText : texts)
        wide.push_back(Wide(strText));
    return wide;
}

void Override(CSimNode& node, const BenchNode& bench)
{
    if (!bench.locationPaths.empty())
        node.Traits().locationPaths = Wide(bench.locationPaths);
    if (!bench.hardwareIds.empty())
        node.Traits().hardwareIds = Wide(bench.hardwareIds);
}

HubNodeOptions HubOptions(const BenchNode& node)
{
    HubNodeOptions options;
    options.wVid = node.wVid;
    options.wPid = node.wPid;
    options.devInst = node.dwInstance;
    options.strSerial = Wide(node.strSerial);
    return options;
}

SimHubSettings Settings(const BenchHub& hub)
{
    SimHubSettings settings;
    settings.usb.usVid = hub.wVid;
    settings.usb.usPid = hub.wPid;
    settings.identity = Wide(hub.strIdentity);
    settings.cbBank = hub.cbFlash;
    settings.bDualBank = hub.bDualBank;
    settings.bIspValidation = hub.bIspValidation;
    const bool bFromFile = hub.image && !hub.image->strFile.empty();
    settings.eImageCheck = bFromFile ? SimImageCheck::NotBlank : SimImageCheck::Crc;
    return settings;
}

SimPdSettings Settings(const BenchPdChip& chip)
{
    SimPdSettings settings;
    settings.bIspValidation = chip.bIspValidation;
    settings.bCrcCheck = chip.bCrcCheck;
    const bool bFromFile = chip.image && !chip.image->strFile.empty();
    settings.eImageCheck = bFromFile ? SimImageCheck::NotBlank : SimImageCheck::Crc;
    return settings;
}

template<typename Model>
void LoadBank(Model& model, unsigned nBank, const std::optional<BenchImage>& image, DWORD cbBank)
{
    if (!image)
        return;
    const std::vector<BYTE> bytes = BuildBenchImage(*image);
    if (bytes.size() > cbBank)
        throw CToolError(ExitCode::Usage,
                         "bench file: image " + Printable(image->strFile) + " has " +
                             std::to_string(bytes.size()) + " bytes, its bank " +
                             std::to_string(cbBank),
                         "Give a smaller image or a larger flash.");
    model.LoadImage(bytes, nBank);
}

/// What is in the two banks, and how the device restarts.
template<typename Model, typename Chip>
void LoadChip(Model& model, const Chip& chip, DWORD cbBank)
{
    LoadBank(model, 1, chip.secondImage, cbBank);
    LoadBank(model, 0, chip.image, cbBank);
    model.SetReturn(chip.timing);
}

template<typename Map>
auto* ById(const Map& map, const std::string& strId)
{
    const auto it = map.find(strId);
    return it == map.end() ? nullptr : it->second.get();
}

} // namespace

std::vector<BYTE> BuildBenchImage(const BenchImage& image)
{
    if (!image.strFile.empty())
        return CImageFile::Load(image.strFile, 0).Bytes();
    return CSimImage(image.cbSize)
        .Version(image.wVersion)
        .OtherVersion(image.wVersion)
        .ChipId(image.wChipId)
        .Seed(image.dwSeed)
        .Build();
}

CBenchMachine::CBenchMachine(BenchDescription bench)
    : m_bench(std::move(bench)),
      m_pMachine(std::make_unique<CSimMachine>(std::make_shared<CSimSystem>())),
      m_lab(*m_pMachine, m_bench.lab)
{
    try {
        BuildTree();
    } catch (const std::invalid_argument& error) {
        throw CToolError(ExitCode::Usage, std::string("bench file: ") + error.what(),
                         "Give the devices other instance numbers.");
    }
    for (const BenchPd& pd : m_bench.pds)
        AddPd(pd);
    SetUpProcess();
    for (const BenchFault& fault : m_bench.faults)
        AddFault(fault);
}

CBenchMachine::~CBenchMachine()
{
    m_pMachine->Time().ForgetEvents();
}

void CBenchMachine::BuildTree()
{
    CSimDeviceTree& tree = m_pMachine->Tree();
    for (const BenchController& controller : m_bench.controllers) {
        CSimNode& host = tree.AddHostController(controller.dwInstance);
        Node node;
        node.pNode = &tree.AddRootHub(host, controller.dwRootInstance);
        node.pSuper = node.pNode;
        m_nodes[controller.strId] = node;
    }
    // Parents first; the file may name them in any order, and was checked for loops.
    const size_t nAll = m_bench.controllers.size() + m_bench.hubs.size() +
                        m_bench.foreignHubs.size() + m_bench.devices.size() +
                        m_bench.billboards.size() + m_bench.hids.size();
    while (m_nodes.size() < nAll) {
        for (const BenchHub& hub : m_bench.hubs)
            if (TryAdd(hub) && (!hub.bSuperSpeed || m_nodes.count(hub.strSuperParent) != 0))
                AddHub(hub);
        for (const BenchForeignHub& hub : m_bench.foreignHubs)
            if (TryAdd(hub))
                AddForeignHub(hub);
        for (const BenchDevice& device : m_bench.devices)
            if (TryAdd(device))
                AddDevice(device);
        for (const BenchBillboard& billboard : m_bench.billboards)
            if (TryAdd(billboard))
                AddBillboard(billboard);
        for (const BenchHid& hid : m_bench.hids)
            if (TryAdd(hid))
                AddHid(hid);
    }
    for (auto& [strId, node] : m_nodes)
        Show(node);
}

bool CBenchMachine::TryAdd(const BenchNode& node)
{
    return m_nodes.count(node.strId) == 0 && m_nodes.count(node.strParent) != 0;
}

CSimNode* CBenchMachine::ParentNode(const std::string& strId, bool bSuper)
{
    const Node& node = m_nodes.at(strId);
    return bSuper ? node.pSuper : node.pNode;
}

void CBenchMachine::AddHub(const BenchHub& hub)
{
    CSimDeviceTree& tree = m_pMachine->Tree();
    m_hubs[hub.strId] = std::make_unique<CSimHub>(m_pMachine->Time(), Settings(hub));
    CSimHub& model = *m_hubs[hub.strId];
    LoadChip(model, hub, hub.cbFlash);
    if (hub.cbI2cMemory != 0)
        model.AttachI2cMemory(std::make_shared<CSimI2cMemory>(hub.cbI2cMemory));
    Node node;
    node.pChip = &model;
    node.strParent = hub.strParent;
    node.bPlugged = hub.bPlugged;
    node.pNode =
        &tree.AddHub(*ParentNode(hub.strParent, false), hub.nPort, HubOptions(hub), &model);
    Override(*node.pNode, hub);
    model.AddPort(node.pNode);
    if (hub.bSuperSpeed) {
        HubNodeOptions options = HubOptions(hub);
        options.bSuperSpeed = true;
        options.devInst = hub.dwSuperInstance;
        options.strSerial.clear();
        node.pSuper =
            &tree.AddHub(*ParentNode(hub.strSuperParent, true), hub.nSuperPort, options, &model);
        node.pNode->SetTwin(node.pSuper);
        node.pSuper->SetTwin(node.pNode);
    }
    m_nodes[hub.strId] = node;
}

void CBenchMachine::AddForeignHub(const BenchForeignHub& hub)
{
    m_plain.push_back(
        std::make_unique<CSimPlainDevice>(m_pMachine->Time(), hub.wVid, hub.wPid, kClassHub));
    if (!hub.strIdentity.empty())
        m_plain.back()->SetString(HUB_IDENTITY_STRING_INDEX, Wide(hub.strIdentity));
    Node node;
    node.strParent = hub.strParent;
    node.bPlugged = hub.bPlugged;
    node.pNode = &m_pMachine->Tree().AddHub(*ParentNode(hub.strParent, false), hub.nPort,
                                            HubOptions(hub), m_plain.back().get());
    Override(*node.pNode, hub);
    node.pNode->Traits().dwOpenError = hub.dwOpenError;
    m_nodes[hub.strId] = node;
}

void CBenchMachine::AddDevice(const BenchDevice& device)
{
    DeviceNodeOptions options;
    options.wVid = device.wVid;
    options.wPid = device.wPid;
    options.devInst = device.dwInstance;
    options.byClass = device.byClass;
    options.strSerial = Wide(device.strSerial);
    options.strDescription = Wide(device.strDescription);
    Node node;
    node.strParent = device.strParent;
    node.bPlugged = device.bPlugged;
    node.pNode =
        &m_pMachine->Tree().AddDevice(*ParentNode(device.strParent, false), device.nPort, options);
    Override(*node.pNode, device);
    m_nodes[device.strId] = node;
}

void CBenchMachine::AddHid(const BenchHid& hid)
{
    constexpr BYTE kClassHid = 3;
    SimUsbIdentity identity;
    identity.usVid = hid.wVid;
    identity.usPid = hid.wPid;
    identity.byClass = 0; // its interface says what it is
    identity.byProtocol = 0;
    m_hids.push_back(std::make_unique<CSimHidDevice>(m_pMachine->Time(), identity, hid.report));
    DeviceNodeOptions options;
    options.wVid = hid.wVid;
    options.wPid = hid.wPid;
    options.devInst = hid.dwInstance;
    options.byClass = kClassHid;
    options.strSerial = Wide(hid.strSerial);
    options.strDescription = WTEXT("USB Input Device");
    CSimDeviceTree& tree = m_pMachine->Tree();
    Node node;
    node.strParent = hid.strParent;
    node.bPlugged = hid.bPlugged;
    node.pNode =
        &tree.AddDevice(*ParentNode(hid.strParent, false), hid.nPort, options, m_hids.back().get());
    Override(*node.pNode, hid);
    HidNodeOptions collection;
    collection.wVid = hid.wVid;
    collection.wPid = hid.wPid;
    collection.devInst = hid.dwHidInstance;
    SimNodeTraits& traits = tree.AddHid(*node.pNode, collection).Traits();
    traits.hidCaps = CSimHidDevice::Capabilities(hid.report);
    traits.dwOpenError = hid.dwOpenError;
    m_nodes[hid.strId] = node;
}

void CBenchMachine::AddPd(const BenchPd& pd)
{
    auto pModel = std::make_unique<CSimPd>(m_pMachine->Time(), Settings(pd));
    LoadChip(*pModel, pd, CSimPdBanks::kBankSize);
    if (!pd.bPlugged)
        pModel->PowerDown();
    Hub(pd.strHub)->AttachI2cTarget(pd.byAddress, pModel.get());
    m_pds[pd.strId] = std::move(pModel);
}

void CBenchMachine::AddBillboard(const BenchBillboard& billboard)
{
    SimBillboardSettings settings;
    settings.usb.usVid = billboard.wVid;
    settings.usb.usPid = billboard.wPid;
    settings.pd = Settings(billboard);
    auto pModel = std::make_unique<CSimBillboard>(m_pMachine->Time(), settings);
    LoadChip(*pModel, billboard, CSimPdBanks::kBankSize);
    DeviceNodeOptions options;
    options.wVid = billboard.wVid;
    options.wPid = billboard.wPid;
    options.devInst = billboard.dwInstance;
    options.byClass = kClassBillboard;
    options.strSerial = Wide(billboard.strSerial);
    options.strDescription = Wide(billboard.strDescription);
    options.bWinUsb = billboard.bWinUsb;
    Node node;
    node.pChip = pModel.get();
    node.strParent = billboard.strParent;
    node.bPlugged = billboard.bPlugged;
    node.pNode = &m_pMachine->Tree().AddDevice(*ParentNode(billboard.strParent, false),
                                               billboard.nPort, options, pModel.get());
    Override(*node.pNode, billboard);
    pModel->AddPort(node.pNode);
    m_billboards[billboard.strId] = std::move(pModel);
    m_nodes[billboard.strId] = node;
}

void CBenchMachine::SetUpProcess()
{
    CSimMachine& machine = *m_pMachine;
    machine.Traits().bElevated = m_bench.bElevated;
    machine.Services().SetPresent(m_bench.bServiceManager);
    machine.Services().SetManagerError(m_bench.dwManagerError);
    if (m_bench.bDriverRunning)
        machine.InstallRunningDriver();
    machine.Driver().KeepLog(false); // an update's transfers would only fill the memory
}

void CBenchMachine::Show(Node& node)
{
    if (node.pChip != nullptr) {
        if (!node.bPlugged)
            node.pChip->Unplug();
        else if (!node.pChip->IsOnBus())
            node.pChip->PowerUp();
        return;
    }
    node.pNode->Plug(node.bPlugged);
}

CSimHub* CBenchMachine::Hub(const std::string& strId)
{
    return ById(m_hubs, strId);
}

CSimPd* CBenchMachine::Pd(const std::string& strId)
{
    return ById(m_pds, strId);
}

CSimBillboard* CBenchMachine::Billboard(const std::string& strId)
{
    return ById(m_billboards, strId);
}

BenchTarget CBenchMachine::TargetOf(const std::string& strId)
{
    return Pd(strId) != nullptr          ? BenchTarget::Pd
           : Billboard(strId) != nullptr ? BenchTarget::Billboard
                                         : BenchTarget::Hub;
}

std::string CBenchMachine::PdIdAt(const std::string& strLocation, BYTE byAddress) const
{
    const std::string strHub = IdAt(strLocation);
    for (const BenchPd& pd : m_bench.pds)
        if (pd.strHub == strHub && pd.byAddress == byAddress)
            return pd.strId;
    return {};
}

std::vector<std::string> CBenchMachine::PdIds() const
{
    std::vector<std::string> ids;
    for (const auto& [strId, pPd] : m_pds)
        ids.push_back(strId);
    return ids;
}

bool CBenchMachine::IsSmbus(const std::string& strId) const
{
    return m_bench.lab.smbus && m_bench.lab.smbus->strId == strId;
}

bool CBenchMachine::IsBuiltIn(const std::string& strId) const
{
    const BenchLab& lab = m_bench.lab;
    return IsSmbus(strId) || m_lab.SmbusDevices().count(strId) != 0 ||
           (lab.ec && lab.ec->strId == strId);
}

bool CBenchMachine::IsPlugged(const std::string& strId) const
{
    const auto itPd = m_pds.find(strId);
    if (itPd != m_pds.end())
        return itPd->second->IsOnBus();
    const auto it = m_nodes.find(strId);
    return it != m_nodes.end() && it->second.bPlugged;
}

void CBenchMachine::Plug(const std::string& strId, bool bPlugged)
{
    if (CSimPd* const pPd = Pd(strId)) {
        if (!bPlugged)
            pPd->PowerDown();
        else if (!pPd->IsOnBus())
            pPd->PowerUp();
        return;
    }
    Node& node = m_nodes.at(strId);
    node.bPlugged = bPlugged;
    Show(node);
}

std::vector<std::string> CBenchMachine::Ids() const
{
    std::vector<std::string> ids;
    for (const auto& [strId, node] : m_nodes)
        if (!node.strParent.empty())
            ids.push_back(strId);
    return ids;
}

std::string CBenchMachine::IdAt(const std::string& strLocation) const
{
    for (const auto& [strId, node] : m_nodes) {
        const std::vector<WString>& paths = node.pNode->Traits().locationPaths;
        if (!paths.empty() && paths.front() == Wide(strLocation))
            return strId;
    }
    return {};
}

std::optional<CBenchMachine::Model> CBenchMachine::ModelOf(const std::string& strId)
{
    const auto model = [](auto* p) { return Model{&p->Faults(), &p->Banks().Flash()}; };
    if (CSimHub* const pHub = Hub(strId))
        return model(pHub);
    if (CSimPd* const pPd = Pd(strId))
        return model(pPd);
    if (CSimBillboard* const pBillboard = Billboard(strId))
        return model(pBillboard);
    return std::nullopt;
}

void CBenchMachine::ForgetFaults()
{
    std::vector<std::string> ids = Ids();
    for (const std::string& strId : PdIds())
        ids.push_back(strId);
    for (const std::string& strId : ids)
        if (const std::optional<Model> model = ModelOf(strId)) {
            model->pFaults->Clear();
            model->pFlash->KeepPower();
        }
    m_faults.clear();
}

void CBenchMachine::AddFault(const BenchFault& fault)
{
    if (!fault.strCall.empty()) {
        m_pMachine->Faults().FailCall(fault.strCall, static_cast<unsigned>(fault.nNth),
                                      fault.dwCode);
        return;
    }
    const std::optional<Model> model = ModelOf(fault.strTarget);
    if (!model)
        return;
    BenchFault kept = fault;
    kept.nNth += SoFar(fault);
    if (fault.bPowerCut)
        model->pFlash->LosePowerAt(kept.nNth, fault.eWhen);
    else if (fault.byRequest)
        model->pFaults->OnRequest(*fault.byRequest, kept.nNth, fault.fault);
    else
        model->pFaults->At(kept.nNth, fault.fault);
    m_faults.push_back(kept);
}

/// What a fault's count is about: how many there have been.
std::uint64_t CBenchMachine::SoFar(const BenchFault& fault)
{
    const std::optional<Model> model = ModelOf(fault.strTarget);
    if (fault.bPowerCut)
        return model->pFlash->Operations();
    return fault.byRequest ? model->pFaults->Transfers(*fault.byRequest)
                           : model->pFaults->Transfers();
}

std::vector<BenchFault> CBenchMachine::PendingFaults()
{
    std::vector<BenchFault> pending;
    for (const BenchFault& fault : m_faults) {
        const std::uint64_t nSoFar = SoFar(fault);
        const std::uint64_t nTimes = fault.bPowerCut ? 1 : fault.fault.nTimes;
        if (nSoFar >= fault.nNth + nTimes)
            continue;
        BenchFault left = fault;
        const std::uint64_t nHit = nSoFar > fault.nNth ? nSoFar - fault.nNth : 0;
        left.fault.nTimes = static_cast<unsigned>(nTimes - nHit);
        left.nNth = fault.nNth > nSoFar ? fault.nNth - nSoFar : 0;
        pending.push_back(left);
    }
    return pending;
}

void CBenchMachine::StartEvents()
{
    for (const BenchEvent& event : m_bench.events)
        m_pMachine->Time().Schedule(event.dwAtMs * kMicrosPerMs,
                                    [this, event] { Plug(event.strId, event.bPlug); });
}

void CBenchMachine::SetPace(double dFactor)
{
    if (dFactor <= 0) {
        m_pMachine->Time().SetPacer({});
        return;
    }
    // Short spans are saved up: sleeping for each would take far longer than asked.
    constexpr double kShortest = 0.002;
    m_pMachine->Time().SetPacer([dFactor, dOwed = 0.0](CSimClock::Micros span) mutable {
        dOwed += static_cast<double>(span) / kMicrosPerSecond / dFactor;
        if (dOwed < kShortest)
            return;
        std::this_thread::sleep_for(std::chrono::duration<double>(dOwed));
        dOwed = 0;
    });
}

void CBenchMachine::Settle()
{
    CSimClock& clock = m_pMachine->Time();
    clock.SetPacer({});
    const CSimClock::Micros usLimit = clock.Now() + kSettleLimit;
    while (clock.AnythingScheduled() && clock.NextEvent() <= usLimit)
        clock.AdvanceTo(clock.NextEvent());
    // What dropped off for good stays off until it is plugged anew.
    for (auto& [strId, node] : m_nodes)
        if (node.pChip != nullptr && !node.pChip->IsOnBus())
            node.bPlugged = false;
}

double CBenchMachine::Seconds() const
{
    return static_cast<double>(m_pMachine->Time().Now()) / kMicrosPerSecond;
}
