#include "tools/zelhub/bench/BenchChecks.h"

#include "sim/machine/CSimFaults.h"
#include "tools/zelhub/output/COutput.h"

#include <algorithm>
#include <map>
#include <set>

namespace
{

/// A path entry of fewer than 8 characters, its zero included, is fatal to a match by level
/// and port.
constexpr size_t kShortestPath = 8;

/// Texts are reported with a head of up to 100 characters in 1,024 bytes, and a longer one is
/// fatal; the system keeps instance IDs below this too.
constexpr size_t kLongestText = 200;
constexpr size_t kLongestIdentity = 126; ///< a string descriptor has no room for more
constexpr unsigned kMaxTiers = 6;

/// What the checks need of every node, whatever its kind.
struct Entry
{
    const BenchNode* pNode;
    bool bHub;
};

class CBenchChecker
{
public:
    CBenchChecker(const JsonSource& source, const BenchDescription& bench)
        : m_source(source), m_bench(bench)
    {
        for (const BenchHub& hub : bench.hubs)
            m_entries.push_back({&hub, true});
        for (const BenchForeignHub& hub : bench.foreignHubs)
            m_entries.push_back({&hub, true});
        for (const BenchDevice& device : bench.devices)
            m_entries.push_back({&device, false});
        for (const BenchBillboard& billboard : bench.billboards)
            m_entries.push_back({&billboard, false});
        for (const BenchHid& hid : bench.hids)
            m_entries.push_back({&hid, false});
    }

    void Run()
    {
        if (m_bench.controllers.empty())
            RefuseJson(m_source, "", "\"controllers\" is missing: a machine has at least one");
        Names();
        Parents();
        Loops();
        Ports();
        Instances();
        Texts();
        PdControllers();
        Smbus();
        Ec();
        References();
    }

private:
    void Claim(const std::string& strId, const std::string& strWhere)
    {
        if (strId.empty())
            RefuseJson(m_source, strWhere + "/id", "\"id\" must not be empty");
        if (!m_ids.insert(strId).second)
            RefuseJson(m_source, strWhere + "/id", "id \"" + Printable(strId) + "\" is used twice");
    }

    void Names()
    {
        for (const BenchController& controller : m_bench.controllers) {
            Claim(controller.strId, controller.strWhere);
            m_parents[controller.strId] = "";
        }
        for (const Entry& entry : m_entries) {
            Claim(entry.pNode->strId, entry.pNode->strWhere);
            if (entry.bHub)
                m_parents[entry.pNode->strId] = entry.pNode->strParent;
        }
    }

    void CheckParent(const std::string& strParent, const std::string& strWhere)
    {
        if (m_parents.count(strParent) == 0)
            RefuseJson(m_source, strWhere + "/parent",
                       "parent \"" + Printable(strParent) + "\" is no controller or hub");
    }

    void Parents()
    {
        for (const Entry& entry : m_entries)
            CheckParent(entry.pNode->strParent, entry.pNode->strWhere);
        for (const BenchHub& hub : m_bench.hubs)
            if (hub.bSuperSpeed)
                CheckSuperParent(hub);
    }

    void CheckSuperParent(const BenchHub& hub)
    {
        const std::string strWhere = hub.strWhere + "/superSpeed";
        CheckParent(hub.strSuperParent, strWhere);
        const auto half = [&](const BenchHub& other) {
            return other.strId == hub.strSuperParent && other.bSuperSpeed;
        };
        const bool bController = m_parents[hub.strSuperParent].empty();
        if (!bController && std::none_of(m_bench.hubs.begin(), m_bench.hubs.end(), half))
            RefuseJson(m_source, strWhere,
                       "its parent \"" + Printable(hub.strSuperParent) +
                           "\" has no SuperSpeed half");
    }

    void Loops()
    {
        for (const Entry& entry : m_entries) {
            std::set<std::string> seen;
            unsigned nTiers = 0;
            for (std::string str = entry.pNode->strId; !str.empty(); str = ParentOf(str)) {
                if (!seen.insert(str).second)
                    RefuseJson(m_source, entry.pNode->strWhere + "/parent",
                               "the tree has a loop through \"" + Printable(str) + "\"");
                ++nTiers;
            }
            if (nTiers > kMaxTiers + 1)
                RefuseJson(m_source, entry.pNode->strWhere,
                           "hangs deeper than USB allows (" + std::to_string(kMaxTiers) +
                               " tiers below a root hub)");
        }
    }

    std::string ParentOf(const std::string& strId) const
    {
        const auto it = m_parents.find(strId);
        if (it != m_parents.end())
            return it->second;
        for (const Entry& entry : m_entries)
            if (entry.pNode->strId == strId)
                return entry.pNode->strParent;
        return {};
    }

    void Ports()
    {
        std::set<std::pair<std::string, unsigned>> used;
        const auto claim = [&](const std::string& strParent, unsigned nPort,
                               const std::string& strWhere) {
            if (!used.insert({strParent, nPort}).second)
                RefuseJson(m_source, strWhere + "/port",
                           "port " + std::to_string(nPort) + " of \"" + Printable(strParent) +
                               "\" is used twice");
        };
        for (const Entry& entry : m_entries)
            claim(entry.pNode->strParent, entry.pNode->nPort, entry.pNode->strWhere);
        // The SuperSpeed ports of a hub are numbered beside its USB 2 ports; those of a root hub
        // are among them.
        for (const BenchHub& hub : m_bench.hubs) {
            const bool bAtRoot = ParentOf(hub.strSuperParent).empty();
            if (hub.bSuperSpeed)
                claim(bAtRoot ? hub.strSuperParent : hub.strSuperParent + "\nSuperSpeed",
                      hub.nSuperPort, hub.strWhere + "/superSpeed");
        }
    }

    void Instances()
    {
        std::set<DWORD> used;
        const auto claim = [&](DWORD dwInstance, const std::string& strWhere) {
            if (dwInstance != 0 && !used.insert(dwInstance).second)
                RefuseJson(m_source, strWhere,
                           "instance number " + std::to_string(dwInstance) + " is used twice");
        };
        for (const BenchController& controller : m_bench.controllers) {
            claim(controller.dwInstance, controller.strWhere + "/instance");
            claim(controller.dwRootInstance, controller.strWhere + "/rootInstance");
        }
        for (const Entry& entry : m_entries)
            claim(entry.pNode->dwInstance, entry.pNode->strWhere + "/instance");
        for (const BenchHub& hub : m_bench.hubs)
            claim(hub.dwSuperInstance, hub.strWhere + "/superSpeed/instance");
        for (const BenchHid& hid : m_bench.hids)
            claim(hid.dwHidInstance, hid.strWhere + "/hidInstance");
    }

    void CheckText(const std::string& strText, size_t nMost, const std::string& strWhere)
    {
        const bool bPlain = std::all_of(strText.begin(), strText.end(),
                                        [](char ch) { return ch >= ' ' && ch <= '~'; });
        if (!bPlain)
            RefuseJson(m_source, strWhere, "texts of devices have to be printable ASCII");
        if (strText.size() > nMost)
            RefuseJson(m_source, strWhere,
                       "text of " + std::to_string(strText.size()) +
                           " characters: the library's messages carry at most " +
                           std::to_string(nMost));
    }

    void Texts()
    {
        for (const Entry& entry : m_entries) {
            const BenchNode& node = *entry.pNode;
            CheckText(node.strSerial, kLongestText / 2, node.strWhere + "/serial");
            for (size_t i = 0; i < node.hardwareIds.size(); ++i)
                CheckText(node.hardwareIds[i], kLongestText,
                          node.strWhere + "/hardwareIds/" + std::to_string(i));
            for (size_t i = 0; i < node.locationPaths.size(); ++i) {
                const std::string strWhere = node.strWhere + "/locationPaths/" + std::to_string(i);
                CheckText(node.locationPaths[i], kLongestText, strWhere);
                if (node.locationPaths[i].size() < kShortestPath)
                    RefuseJson(m_source, strWhere,
                               "a location path has at least " + std::to_string(kShortestPath) +
                                   " characters; a shorter one ends the library");
            }
        }
        for (const BenchHub& hub : m_bench.hubs)
            CheckText(hub.strIdentity, kLongestIdentity, hub.strWhere + "/identity");
        for (const BenchForeignHub& hub : m_bench.foreignHubs)
            CheckText(hub.strIdentity, kLongestIdentity, hub.strWhere + "/identity");
        for (const BenchDevice& device : m_bench.devices)
            CheckText(device.strDescription, kLongestText, device.strWhere + "/description");
        for (const BenchBillboard& billboard : m_bench.billboards)
            CheckText(billboard.strDescription, kLongestText, billboard.strWhere + "/description");
    }

    void PdControllers()
    {
        std::set<std::pair<std::string, BYTE>> used;
        for (const BenchPd& pd : m_bench.pds) {
            Claim(pd.strId, pd.strWhere);
            const auto same = [&](const BenchHub& hub) { return hub.strId == pd.strHub; };
            if (std::none_of(m_bench.hubs.begin(), m_bench.hubs.end(), same))
                RefuseJson(m_source, pd.strWhere + "/hub",
                           "\"hub\" names no hub of \"hubs\": \"" + Printable(pd.strHub) + "\"");
            if (!used.insert({pd.strHub, pd.byAddress}).second)
                RefuseJson(m_source, pd.strWhere + "/address",
                           "address " + Hex(pd.byAddress, 2) + " behind \"" + Printable(pd.strHub) +
                               "\" is used twice");
        }
    }

    /// Gives ports to a model. @param strWhere the member that names them
    void ClaimPorts(DWORD dwFirst, ULONGLONG count, const std::string& strWhere)
    {
        for (DWORD dwPort = dwFirst; dwPort < dwFirst + count; ++dwPort)
            if (!m_ioPorts.insert(dwPort).second)
                RefuseJson(m_source, strWhere, "I/O port " + Hex(dwPort, 4) + " is used twice");
    }

    void Smbus()
    {
        ClaimPorts(CSimSmbusController::kPciAddressPort, CSimSmbusController::kPciPorts, "");
        if (!m_bench.lab.smbus)
            return;
        const BenchSmbus& smbus = *m_bench.lab.smbus;
        Claim(smbus.strId, smbus.strWhere);
        ClaimPorts(smbus.dwBase, CSimSmbusController::kRegisters, smbus.strWhere + "/base");
        std::set<BYTE> used;
        for (const BenchSmbusDevice& device : smbus.devices) {
            Claim(device.strId, device.strWhere);
            if (!used.insert(device.byAddress).second)
                RefuseJson(m_source, device.strWhere + "/address",
                           "SMBus address " + Hex(device.byAddress, 2) + " is used twice");
        }
    }

    void Ec()
    {
        if (!m_bench.lab.ec)
            return;
        const BenchEc& ec = *m_bench.lab.ec;
        Claim(ec.strId, ec.strWhere);
        ClaimPorts(ec.wCommandPort, 1, ec.strWhere + "/commandPort");
        ClaimPorts(ec.wDataPort, 1, ec.strWhere + "/dataPort");
    }

    bool Has(BenchTarget eTarget, const std::string& strId) const
    {
        const auto in = [&](const auto& list) {
            return std::any_of(list.begin(), list.end(),
                               [&](const auto& entry) { return entry.strId == strId; });
        };
        switch (eTarget) {
        case BenchTarget::Hub:
            return in(m_bench.hubs);
        case BenchTarget::Pd:
            return in(m_bench.pds);
        case BenchTarget::Billboard:
            return in(m_bench.billboards);
        }
        return false;
    }

    void CheckFault(const BenchFault& fault) const
    {
        if (!fault.strCall.empty()) {
            const std::vector<std::string> calls = CSimFaults::Operations();
            if (std::find(calls.begin(), calls.end(), fault.strCall) == calls.end())
                RefuseJson(m_source, fault.strWhere + "/call",
                           "\"call\" names no call of a service");
            return;
        }
        const BenchTargetName& target = NameOfTarget(fault.eTarget);
        if (!Has(fault.eTarget, fault.strTarget))
            RefuseJson(m_source, fault.strWhere + "/" + target.pszKey,
                       std::string("\"") + target.pszKey + "\" names no " + target.pszTitle +
                           " of \"" + target.pszListKey + "\": \"" + Printable(fault.strTarget) +
                           "\"");
    }

    void References()
    {
        for (const BenchFault& fault : m_bench.faults)
            CheckFault(fault);
        for (const BenchEvent& event : m_bench.events) {
            const auto same = [&](const Entry& entry) { return entry.pNode->strId == event.strId; };
            if (!Has(BenchTarget::Pd, event.strId) &&
                std::none_of(m_entries.begin(), m_entries.end(), same))
                RefuseJson(m_source, event.strWhere,
                           "the event names no hub or device: \"" + Printable(event.strId) + "\"");
        }
    }

    const JsonSource& m_source;
    const BenchDescription& m_bench;
    std::vector<Entry> m_entries;
    std::set<std::string> m_ids;
    std::set<DWORD> m_ioPorts;
    std::map<std::string, std::string> m_parents; ///< of controllers and hubs; empty: none
};

} // namespace

void CheckBench(const JsonSource& source, const BenchDescription& bench)
{
    CBenchChecker(source, bench).Run();
}
