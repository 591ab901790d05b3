#include "platform/linux/CLinuxNodes.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/AsciiCase.h"

namespace
{
constexpr const char* kUsbDevices = "bus/usb/devices";
constexpr const char* kHidDevices = "class/hidraw";
constexpr DWORD kMostNumber = 0x7FFFFFFF;

bool SameNoCase(const WString& a, const WString& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](WCHAR chA, WCHAR chB) { return UpperAscii(chA) == UpperAscii(chB); });
}

/// Who may open a device's file is settled a moment after the kernel shows the device, when udev
/// has read its rules. Until then, but not for long, it counts as not there: a finder that came too
/// early and was refused would not come again.
bool HasItsRights(const std::string& strDeviceFile)
{
    constexpr std::time_t kLongestSeconds = 3;
    struct stat info = {};
    if (::faccessat(AT_FDCWD, strDeviceFile.c_str(), R_OK | W_OK, AT_EACCESS) == 0 ||
        errno != EACCES || ::stat(strDeviceFile.c_str(), &info) != 0)
        return true;
    const std::time_t nAge = std::time(nullptr) - info.st_ctim.tv_sec;
    return nAge < 0 || nAge > kLongestSeconds;
}

/// Gives every node its number: the hash of what it is and where, the next free one where two
/// nodes share it. Who comes first is decided by the texts, not by who came first.
void Number(std::vector<LINUX_NODE>* pNodes)
{
    std::multimap<WString, LINUX_NODE*> bySeed;
    for (LINUX_NODE& node : *pNodes)
        bySeed.emplace(NumberSeed(node), &node);
    std::set<DWORD> taken;
    for (const auto& [strSeed, pNode] : bySeed) {
        DWORD devInst = HashText(strSeed) & kMostNumber;
        while (devInst == 0 || taken.contains(devInst))
            devInst = (devInst + 1) & kMostNumber;
        taken.insert(devInst);
        pNode->devInst = devInst;
    }
}

/// Fills in which port of which hub; hubs are counted in the order of their places.
void Locate(std::vector<LINUX_NODE>* pNodes)
{
    std::map<std::string, unsigned> hubs;
    for (const LINUX_NODE& node : *pNodes) {
        if (node.eKind == LinuxNodeKind::RootHub || node.eKind == LinuxNodeKind::Hub)
            hubs.emplace(node.strFolder, static_cast<unsigned>(hubs.size() + 1));
    }
    for (LINUX_NODE& node : *pNodes) {
        const auto hub = hubs.find(node.strParentFolder);
        if (node.IsUsb() && !node.place.ports.empty() && hub != hubs.end())
            node.strLocationInformation = WTEXT("Port_#") + WideNumber(node.place.ports.back(), 4) +
                                          WTEXT(".Hub_#") + WideNumber(hub->second, 4);
    }
}

/// The root hubs of each controller, by its folder.
std::map<std::string, std::set<unsigned>> BusesOf(const std::map<std::string, USB_ENTRY>& entries)
{
    std::map<std::string, std::set<unsigned>> buses;
    for (const auto& [strName, entry] : entries)
        buses[ControllerFolderOf(entry.strFolder, entry.place.nBus)].insert(entry.place.nBus);
    return buses;
}
} // namespace

CLinuxNodes::CLinuxNodes(const std::string& strSysRoot, std::string strDevRoot)
    : m_sysfs(strSysRoot), m_strDevRoot(std::move(strDevRoot))
{}

void CLinuxNodes::Refresh()
{
    const bool bUsbChanged = ReadEntries();
    if (ReadHidFolders() || bUsbChanged)
        Compose();
}

/// @return whether anything changed
bool CLinuxNodes::ReadEntries()
{
    std::map<std::string, USB_ENTRY> entries;
    const std::size_t nBefore = m_entries.size();
    bool bChanged = false;
    for (const std::string& strName : m_sysfs.List(kUsbDevices)) {
        const std::optional<USB_PLACE> place = UsbPlaceOf(strName);
        if (!place)
            continue;
        const auto old = m_entries.find(strName);
        if (old != m_entries.end() && !old->second.strIdentity.empty() &&
            m_sysfs.Identity(old->second.strFolder) == old->second.strIdentity) {
            entries.insert(m_entries.extract(old));
            continue;
        }
        const std::string strFolder = m_sysfs.Target(std::string(kUsbDevices) + "/" + strName);
        if (ControllerFolderOf(strFolder, place->nBus).empty())
            continue;
        const std::string strIdentity = m_sysfs.Identity(strFolder);
        std::optional<USB_ENTRY> entry = ReadUsbEntry(m_sysfs, strFolder, *place);
        // What left and came back between two looks is gone for this one: it has its number again,
        // and a finder that waits for it to leave would wait in vain for what it missed.
        if (entry && old != m_entries.end() && entry->strVidPid == old->second.strVidPid &&
            entry->strDevNum != old->second.strDevNum)
            continue;
        if (entry && HasItsRights(UsbDeviceFile(m_strDevRoot, *entry))) {
            entry->strIdentity = strIdentity;
            entries.emplace(strName, std::move(*entry));
            bChanged = true;
        }
    }
    bChanged = bChanged || entries.size() != nBefore;
    m_entries = std::move(entries);
    return bChanged;
}

/// @return whether anything changed
bool CLinuxNodes::ReadHidFolders()
{
    std::vector<std::string> folders;
    for (const std::string& strName : m_sysfs.List(kHidDevices))
        if (HasItsRights(m_strDevRoot + "/" + strName))
            folders.push_back(m_sysfs.Target(std::string(kHidDevices) + "/" + strName));
    std::sort(folders.begin(), folders.end());
    const bool bChanged = folders != m_hidFolders;
    m_hidFolders = std::move(folders);
    return bChanged;
}

void CLinuxNodes::Compose()
{
    std::vector<LINUX_NODE> nodes;
    for (const auto& [strController, buses] : BusesOf(m_entries)) {
        const WString strPath = ControllerPath(strController);
        nodes.push_back(MakeControllerNode(m_sysfs, strController, *buses.begin()));
        for (const auto& [strName, entry] : m_entries) {
            const auto bus = buses.find(entry.place.nBus);
            if (bus == buses.end() ||
                ControllerFolderOf(entry.strFolder, entry.place.nBus) != strController)
                continue;
            const auto nRootHub = static_cast<unsigned>(std::distance(buses.begin(), bus));
            nodes.push_back(MakeUsbNode(entry, m_strDevRoot, strPath, nRootHub));
        }
    }
    ComposeHid(&nodes);
    // A controller before its buses, a hub before what hangs on it, a device before its parts.
    std::stable_sort(nodes.begin(), nodes.end(), [](const LINUX_NODE& a, const LINUX_NODE& b) {
        if (a.place != b.place)
            return a.place < b.place;
        return a.strFolder.size() < b.strFolder.size();
    });
    Locate(&nodes);
    Number(&nodes);
    Publish(std::move(nodes));
}

void CLinuxNodes::ComposeHid(std::vector<LINUX_NODE>* pNodes) const
{
    const std::size_t nDevices = pNodes->size();
    for (const std::string& strFolder : m_hidFolders) {
        for (std::size_t i = 0; i < nDevices; ++i) {
            const LINUX_NODE& device = (*pNodes)[i];
            if (device.eKind != LinuxNodeKind::Device ||
                strFolder.rfind(device.strFolder + "/", 0) != 0)
                continue;
            if (std::optional<LINUX_NODE> node = MakeHidNode(strFolder, m_strDevRoot, device))
                pNodes->push_back(std::move(*node));
            break;
        }
    }
}

void CLinuxNodes::Publish(std::vector<LINUX_NODE> nodes)
{
    m_present.clear();
    for (LINUX_NODE& node : nodes) {
        const auto pNode = std::make_shared<const LINUX_NODE>(std::move(node));
        m_present.push_back(pNode);
        m_known[pNode->devInst] = pNode;
    }
}

LinuxNodePtr CLinuxNodes::Find(DWORD devInst)
{
    if (!m_known.contains(devInst))
        Refresh();
    const auto it = m_known.find(devInst);
    return it == m_known.end() ? nullptr : it->second;
}

LinuxNodePtr CLinuxNodes::FindPresent(DWORD devInst)
{
    const LinuxNodePtr pNode = Find(devInst);
    const bool bPresent = std::find(m_present.begin(), m_present.end(), pNode) != m_present.end();
    return bPresent ? pNode : nullptr;
}

LinuxNodePtr CLinuxNodes::FindById(const WString& strId) const
{
    for (const LinuxNodePtr& pNode : m_present)
        if (SameNoCase(pNode->strInstanceId, strId))
            return pNode;
    return nullptr;
}

LinuxNodePtr CLinuxNodes::ParentOf(const LINUX_NODE& node) const
{
    for (const LinuxNodePtr& pNode : m_present)
        if (pNode->strFolder == node.strParentFolder)
            return pNode;
    return nullptr;
}

std::vector<LinuxNodePtr> CLinuxNodes::ChildrenOf(const std::string& strFolder) const
{
    std::vector<LinuxNodePtr> children;
    for (const LinuxNodePtr& pNode : m_present)
        if (pNode->strParentFolder == strFolder)
            children.push_back(pNode);
    return children;
}
