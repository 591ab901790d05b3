#pragma once

#include <optional>
#include <string>
#include <vector>

/// A sysfs tree: the kernel's own, or one that a test laid out. Paths are relative to its root.
/// Nothing is remembered between calls, and anything may vanish between two of them.
class CSysfs
{
public:
    explicit CSysfs(std::string strRoot) : m_strRoot(std::move(strRoot)) {}

    /// The names in a folder, in no order; none where it cannot be read.
    std::vector<std::string> List(const std::string& strFolder) const;

    /// An attribute without its line end; nothing where it cannot be read.
    std::optional<std::string> Read(const std::string& strFile) const;

    /// The device folder that a link names ("devices/..."); empty where it names none.
    std::string Target(const std::string& strLink) const;

    /// What changes when a folder goes and another comes in its place, and seldom else. A link
    /// stands for its folder. Empty: it is not there.
    std::string Identity(const std::string& strFolder) const;

    /// Writes an attribute. @return 0, or the system's error number
    int Write(const std::string& strFile, const std::string& strText) const;

private:
    std::string m_strRoot;
};
