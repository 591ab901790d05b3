#pragma once

#include "platform/Types.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <typeinfo>
#include <vector>

/// What stands behind a handle. Whatever must happen when the handle is closed happens in the
/// destructor.
class CSimHandleObject
{
public:
    CSimHandleObject() = default;
    CSimHandleObject(const CSimHandleObject&) = delete;
    CSimHandleObject& operator=(const CSimHandleObject&) = delete;
    virtual ~CSimHandleObject() = default;
};

/// One open handle, as tests see it.
struct SimOpenHandle
{
    std::string strKind; ///< "device set", "device", "file", "service", ...
    std::string strName; ///< path, service name, ...
    HANDLE hValue;
};

/// The handles of one simulated process: who is open, by kind and name. Numbers are never used
/// twice, so a stale handle is always found out.
class CSimHandles
{
public:
    /// Adds a handle; the table shares the object until Close.
    HANDLE Add(const char* pszKind, std::string strName, std::shared_ptr<CSimHandleObject> pObject);

    /// The object behind a handle if it is exactly a T, else null.
    template<class T>
    std::shared_ptr<T> Find(HANDLE h) const
    {
        std::shared_ptr<CSimHandleObject> pObject = FindObject(h);
        const CSimHandleObject* const pRaw = pObject.get();
        if (pRaw == nullptr || typeid(*pRaw) != typeid(T))
            return nullptr;
        return std::static_pointer_cast<T>(std::move(pObject));
    }

    /// Closes a handle if its object is a T; anything else is noted as misuse.
    template<class T>
    bool Close(HANDLE h)
    {
        if (Find<T>(h) != nullptr)
            return Drop(h);
        NoteMisuse(h);
        return false;
    }

    std::vector<SimOpenHandle> Open() const;                    ///< in order of opening
    std::vector<std::string> OpenOf(const char* pszKind) const; ///< the names of one kind
    std::string Describe() const;                               ///< "kind name" lines, "" when none

    /// Closes of handles that were not open, or not of that kind, in words.
    std::vector<std::string> Misuses() const;

    void CloseAll(); ///< what the end of a process does

private:
    struct Entry
    {
        const char* pszKind;
        std::string strName;
        std::shared_ptr<CSimHandleObject> pObject;
    };

    std::shared_ptr<CSimHandleObject> FindObject(HANDLE h) const;
    bool Drop(HANDLE h);
    void NoteMisuse(HANDLE h);

    mutable std::mutex m_lock;
    std::map<uintptr_t, Entry> m_entries;
    std::vector<std::string> m_misuses;
    uintptr_t m_uNext = 0x1000;
};
