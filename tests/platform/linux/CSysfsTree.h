#pragma once

#include <map>
#include <string>

/// A sysfs and a /dev of a test's own, laid out as the kernel lays out its own; gone with the
/// object. One line per folder, indented by two blanks per level, below "devices":
///
///     pci0000:00
///       0000:00:14.0 vendor=0x8086 device=0xa12f class=0x0c0330
///         usb1 1d6b:0002 hub 480
///           1-4 1234:5678 hub 480 power/control=on
///             1-4.2 0a0b:0c0d dev 12 hid=0
///
/// "1234:5678", "hub", "dev" or "billboard", and the speed stand for the attributes that every
/// USB device has; "hid=N" adds hidraw N to interface 0; other words are attributes, "-word"
/// takes one away.
class CSysfsTree
{
public:
    explicit CSysfsTree(const std::string& strLayout);
    CSysfsTree(const CSysfsTree&) = delete;
    CSysfsTree& operator=(const CSysfsTree&) = delete;
    ~CSysfsTree();

    std::string SysRoot() const { return m_strRoot + "/sys"; }
    std::string DevRoot() const { return m_strRoot + "/dev"; }

    /// Adds lines below a folder that is there (empty: below "devices").
    void Add(const std::string& strLayout, const std::string& strParent = {});

    /// By the folder's name: what is unplugged goes with all below it.
    void Unplug(const std::string& strName);
    void Set(const std::string& strName, const std::string& strAttribute,
             const std::string& strText);
    std::string Get(const std::string& strName, const std::string& strAttribute) const;
    void Drop(const std::string& strName, const std::string& strAttribute);

    /// The file of an attribute, for tests that do something odd to it.
    std::string File(const std::string& strName, const std::string& strAttribute) const;

private:
    void AddFolder(const std::string& strParent, const std::string& strLine);
    void AddWord(const std::string& strName, const std::string& strWord);
    void AddHid(const std::string& strName, const std::string& strNumber);
    void Link(const std::string& strFrom, const std::string& strTo) const;

    std::string m_strRoot;
    std::map<std::string, std::string> m_folders; ///< by name, below the sysfs root
    std::map<std::string, int> m_devNums;         ///< the last one of each bus
};
