#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "platform/Types.h"

/// What stands behind a handle; it goes when the handle is closed and nobody else uses it.
class CLinuxHandleObject
{
public:
    CLinuxHandleObject() = default;
    CLinuxHandleObject(const CLinuxHandleObject&) = delete;
    CLinuxHandleObject& operator=(const CLinuxHandleObject&) = delete;
    virtual ~CLinuxHandleObject() = default;
};

/// The handles of device files, WinUSB interfaces, HID data and events. No number is used twice,
/// so a stale handle is never taken for another.
class CLinuxHandles
{
public:
    HANDLE Add(std::shared_ptr<CLinuxHandleObject> pObject);

    /// @return the object when the handle is open and its object a T, else null
    template<class T>
    std::shared_ptr<T> Find(HANDLE h) const
    {
        return std::dynamic_pointer_cast<T>(FindObject(h));
    }

    /// @return true when the handle was open and its object a T
    template<class T>
    bool Close(HANDLE h)
    {
        return Find<T>(h) != nullptr && Drop(h);
    }

private:
    std::shared_ptr<CLinuxHandleObject> FindObject(HANDLE h) const;
    bool Drop(HANDLE h);

    mutable std::mutex m_lock;
    std::map<HANDLE, std::shared_ptr<CLinuxHandleObject>> m_objects;
    std::uintptr_t m_uNext = 0x10000000; // above all that descriptors can be
};
