#include "platform/linux/CLinuxHandles.h"

HANDLE CLinuxHandles::Add(std::shared_ptr<CLinuxHandleObject> pObject)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto h = reinterpret_cast<HANDLE>(m_uNext); // NOLINT(performance-no-int-to-ptr)
    m_uNext += 4;
    m_objects[h] = std::move(pObject);
    return h;
}

std::shared_ptr<CLinuxHandleObject> CLinuxHandles::FindObject(HANDLE h) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto it = m_objects.find(h);
    return it == m_objects.end() ? nullptr : it->second;
}

bool CLinuxHandles::Drop(HANDLE h)
{
    std::shared_ptr<CLinuxHandleObject> pObject; // goes after the lock
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto it = m_objects.find(h);
    if (it == m_objects.end())
        return false;
    pObject = std::move(it->second);
    m_objects.erase(it);
    return true;
}
