#pragma once

#include "dev/CHubDev.h"
#include "find/CHubFind.h"
#include "flow/CUniversalFlow.h"
#include "sim/machine/CSimMachine.h"
#include "sim/models/CSimHub.h"
#include "sim/models/CSimImage.h"
#include "transport/CPropertyEx.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

using Image = std::vector<BYTE>;

/// Versions that no single flipped bit turns into each other.
constexpr USHORT kOldVersion = 0x0111;
constexpr USHORT kNewVersion = 0x0222;

/// The smallest image with all version fields; not a multiple of any transfer size.
const Image& OldImage();
const Image& NewImage();

/// A chip with two banks: what it offers for checking a bank, and the bank that runs at first.
struct BankKind
{
    const char* pszName;
    bool bIspValidation;
    bool bCrcCheck;
    unsigned nBank;
};

inline const BankKind kBankKinds[] = {
    {"CrcFromBank0", false, true, 0},
    {"IspFromBank1", true, true, 1},
    {"ReadBack", false, false, 0},
};

/// A device as a careful host makes it: no check passes before the flash was read back and every
/// byte was the image's.
template<typename Device>
class CStrict : public Device
{
public:
    bool CheckFlashWithCmp() override { return ReadsBack() && Device::CheckFlashWithCmp(); }
    bool CheckFlashInFlash() override { return ReadsBack() && Device::CheckFlashInFlash(); }

    bool ReadsBack()
    {
        const Image& image = this->GetFwBuf();
        Image back(image.size());
        for (std::size_t i = 0; i < back.size(); ++i)
            back[i] = static_cast<BYTE>(~image[i]); // what is not read cannot pass
        return this->ReadFlashEx(back) && back == image;
    }
};

using CStrictHubDev = CStrict<CHubDev>;

/// A computer with one hub on it that runs the old image, and the hub's model as the judge.
struct HubBench
{
    explicit HubBench(const SimHubSettings& settings);
    HubBench(const HubBench&) = delete;
    HubBench& operator=(const HubBench&) = delete;
    ~HubBench();

    /// Makes the world well again: no more faults, and what stays away is plugged in anew.
    void Heal();
    WString LocationPath() const { return node.Traits().locationPaths.front(); }

    CSimMachine machine;
    CSimHub hub;
    CSimNode& node;
};

/// One run of a host program on a bench: the library's classes from start to release.
class CHostRun
{
public:
    explicit CHostRun(HubBench& bench);
    CHostRun(const CHostRun&) = delete;
    CHostRun& operator=(const CHostRun&) = delete;
    ~CHostRun();

    /// Updates the hub, and believes it only when the device came back with the new version.
    /// After a failure it looks once more at what runs.
    bool Update(const Image& image);
    bool FlowSaidYes() const { return m_bFlowSaidYes; } ///< what the library alone answered
    /// Erases the hub, and believes it only when ROM code reads the flash as blank.
    bool Erase();

    CStrictHubDev& Dev() { return m_dev; }
    CHubFind& Finder() { return m_finder; }

private:
    bool RunsImageVersion();

    CPropertyEx m_transport;
    CHubFind m_finder;
    CStrictHubDev m_dev;
    CUniversalFlow m_flow{&m_finder, &m_dev};
    bool m_bFlowSaidYes = false;
};

/// A fault with a name for reports.
struct NamedFault
{
    const char* pszName;
    SimFault fault;
};

/// What can happen to one transfer of a device with an endpoint 0.
const std::vector<NamedFault>& UsbFaults();

/// Runs something with every fault at every transfer, or with the power lost in every way at every
/// flash operation, until the test fails. The chosen ones are given, or how many there are.
using Places = std::vector<std::uint64_t>;
Places FirstPlaces(std::uint64_t n);
void ForFaults(const std::vector<NamedFault>& faults, const Places& transfers,
               const std::function<void(std::uint64_t n, const SimFault& fault)>& fnRun);
void ForPowerCuts(const Places& operations,
                  const std::function<void(std::uint64_t n, SimPowerCut eWhen)>& fnRun);

/// Counts what a sweep did, and prints it at its end.
struct SweepTally
{
    explicit SweepTally(std::string name) : strName(std::move(name)) {}
    SweepTally(const SweepTally&) = delete;
    SweepTally& operator=(const SweepTally&) = delete;
    ~SweepTally();

    void Count(bool bSuccess, bool bBelieved);

    std::string strName;
    unsigned nRuns = 0;
    unsigned nSuccess = 0;
    unsigned nBelieved = 0; ///< the library alone said yes, a careful host did not
};
