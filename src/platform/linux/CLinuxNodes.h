#pragma once

#include <map>

#include "platform/linux/CSysfs.h"
#include "platform/linux/LinuxNodeRead.h"

/// The USB nodes of the machine, as sysfs shows them: host controllers and everything below
/// them. What has gone is remembered by its number. For one thread at a time.
class CLinuxNodes
{
public:
    /// @param strSysRoot, strDevRoot "/sys" and "/dev", or a tree that a test laid out
    CLinuxNodes(const std::string& strSysRoot, std::string strDevRoot);

    /// Looks again. Only what came, went or was replaced is read anew.
    void Refresh();

    /// What was there at the last look, in the order of places.
    const std::vector<LinuxNodePtr>& Present() const { return m_present; }

    /// Present and gone nodes by number.
    const std::map<DWORD, LinuxNodePtr>& Known() const { return m_known; }

    /// A node that is or was there, null: nobody. Looks again for a number not seen yet.
    LinuxNodePtr Find(DWORD devInst);
    LinuxNodePtr FindPresent(DWORD devInst);           ///< null also for one that has gone
    LinuxNodePtr FindById(const WString& strId) const; ///< at the last look, case ignored

    LinuxNodePtr ParentOf(const LINUX_NODE& node) const;
    std::vector<LinuxNodePtr> ChildrenOf(const std::string& strFolder) const;

    const CSysfs& Sysfs() const { return m_sysfs; }

private:
    bool ReadEntries();
    bool ReadHidFolders();
    void Compose();
    void ComposeHid(std::vector<LINUX_NODE>* pNodes) const;
    void Publish(std::vector<LINUX_NODE> nodes);

    CSysfs m_sysfs;
    std::string m_strDevRoot;
    std::map<std::string, USB_ENTRY> m_entries; ///< by kernel name
    std::vector<std::string> m_hidFolders;
    std::vector<LinuxNodePtr> m_present;
    std::map<DWORD, LinuxNodePtr> m_known;
};
