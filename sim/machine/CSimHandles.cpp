#include "sim/machine/CSimHandles.h"

#include <sstream>

namespace
{
uintptr_t NumberOf(HANDLE h)
{
    return reinterpret_cast<uintptr_t>(h);
}

HANDLE HandleOf(uintptr_t uNumber)
{
    return reinterpret_cast<HANDLE>(uNumber); // NOLINT(performance-no-int-to-ptr)
}
} // namespace

HANDLE CSimHandles::Add(const char* pszKind, std::string strName,
                        std::shared_ptr<CSimHandleObject> pObject)
{
    const std::lock_guard lock(m_lock);
    const uintptr_t uNumber = m_uNext;
    m_uNext += 4;
    m_entries.emplace(uNumber, Entry{pszKind, std::move(strName), std::move(pObject)});
    return HandleOf(uNumber);
}

std::vector<SimOpenHandle> CSimHandles::Open() const
{
    const std::lock_guard lock(m_lock);
    std::vector<SimOpenHandle> open;
    for (const auto& [uNumber, entry] : m_entries)
        open.push_back({entry.pszKind, entry.strName, HandleOf(uNumber)});
    return open;
}

std::vector<std::string> CSimHandles::OpenOf(const char* pszKind) const
{
    std::vector<std::string> names;
    for (const SimOpenHandle& handle : Open())
        if (handle.strKind == pszKind)
            names.push_back(handle.strName);
    return names;
}

std::string CSimHandles::Describe() const
{
    std::string strText;
    for (const SimOpenHandle& handle : Open())
        strText += handle.strKind + " " + handle.strName + "\n";
    return strText;
}

std::vector<std::string> CSimHandles::Misuses() const
{
    const std::lock_guard lock(m_lock);
    return m_misuses;
}

void CSimHandles::CloseAll()
{
    std::map<uintptr_t, Entry> entries;
    {
        const std::lock_guard lock(m_lock);
        entries.swap(m_entries);
    }
}

std::shared_ptr<CSimHandleObject> CSimHandles::FindObject(HANDLE h) const
{
    const std::lock_guard lock(m_lock);
    const auto it = m_entries.find(NumberOf(h));
    return it == m_entries.end() ? nullptr : it->second.pObject;
}

bool CSimHandles::Drop(HANDLE h)
{
    Entry entry; // its object dies behind the lock
    const std::lock_guard lock(m_lock);
    const auto it = m_entries.find(NumberOf(h));
    if (it == m_entries.end())
        return false;
    entry = std::move(it->second);
    m_entries.erase(it);
    return true;
}

void CSimHandles::NoteMisuse(HANDLE h)
{
    const std::lock_guard lock(m_lock);
    const auto it = m_entries.find(NumberOf(h));
    std::ostringstream text;
    text << "close of 0x" << std::hex << NumberOf(h) << ": ";
    if (it == m_entries.end())
        text << "not open";
    else
        text << "a " << it->second.pszKind << ", closed by another service";
    m_misuses.push_back(text.str());
}
