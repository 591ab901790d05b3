#include "sim/machine/CSimFaults.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace
{
struct Operation
{
    std::string_view strName;
    SimCodeKind eKind;
};

// Sorted by name.
constexpr Operation kOperations[] = {
    {"IClock::Counter", SimCodeKind::None},
    {"IClock::Frequency", SimCodeKind::None},
    {"IClock::LocalTime", SimCodeKind::None},
    {"IClock::Sleep", SimCodeKind::None},
    {"IDeviceFile::Close", SimCodeKind::LastError},
    {"IDeviceFile::Control", SimCodeKind::LastError},
    {"IDeviceFile::Open", SimCodeKind::LastError},
    {"IDeviceTree::DestroySet", SimCodeKind::LastError},
    {"IDeviceTree::EnumDeviceInfo", SimCodeKind::LastError},
    {"IDeviceTree::EnumDeviceInterfaces", SimCodeKind::LastError},
    {"IDeviceTree::GetChild", SimCodeKind::ConfigResult},
    {"IDeviceTree::GetClassDevs", SimCodeKind::LastError},
    {"IDeviceTree::GetDeviceId", SimCodeKind::ConfigResult},
    {"IDeviceTree::GetInterfaceDetail", SimCodeKind::LastError},
    {"IDeviceTree::GetNodeProperty", SimCodeKind::ConfigResult},
    {"IDeviceTree::GetNodeStatus", SimCodeKind::ConfigResult},
    {"IDeviceTree::GetParent", SimCodeKind::ConfigResult},
    {"IDeviceTree::GetRegistryProperty", SimCodeKind::LastError},
    {"IDeviceTree::GetSibling", SimCodeKind::ConfigResult},
    {"IEventPipe::CloseEvent", SimCodeKind::LastError},
    {"IEventPipe::ClosePipe", SimCodeKind::LastError},
    {"IEventPipe::MakeEvent", SimCodeKind::LastError},
    {"IEventPipe::OpenNamedEvent", SimCodeKind::LastError},
    {"IEventPipe::OpenPipe", SimCodeKind::LastError},
    {"IEventPipe::WaitEvent", SimCodeKind::LastError},
    {"IEventPipe::WaitPipe", SimCodeKind::LastError},
    {"IEventPipe::WritePipe", SimCodeKind::LastError},
    {"IFileSystem::Attributes", SimCodeKind::LastError},
    {"IFileSystem::Close", SimCodeKind::LastError},
    {"IFileSystem::Copy", SimCodeKind::LastError},
    {"IFileSystem::Open", SimCodeKind::LastError},
    {"IFileSystem::QueryRootVersion", SimCodeKind::LastError},
    {"IFileSystem::ReadVersion", SimCodeKind::LastError},
    {"IFileSystem::Remove", SimCodeKind::LastError},
    {"IFileSystem::Size", SimCodeKind::LastError},
    {"IFileSystem::SystemFolder", SimCodeKind::LastError},
    {"IFileSystem::TemporaryFolder", SimCodeKind::LastError},
    {"IFileSystem::VersionSize", SimCodeKind::LastError},
    {"IFileSystem::WindowsFolder", SimCodeKind::LastError},
    {"IFileSystem::WorkingFolder", SimCodeKind::LastError},
    {"IFileSystem::Write", SimCodeKind::LastError},
    {"IHid::FreePreparsedData", SimCodeKind::LastError},
    {"IHid::GetCaps", SimCodeKind::HidStatus},
    {"IHid::GetHidGuid", SimCodeKind::None},
    {"IHid::GetPreparsedData", SimCodeKind::LastError},
    {"IHostFiles::Close", SimCodeKind::LastError},
    {"IHostFiles::OpenForAppending", SimCodeKind::LastError},
    {"IHostFiles::OpenForReading", SimCodeKind::LastError},
    {"IHostFiles::Read", SimCodeKind::LastError},
    {"IHostFiles::Remove", SimCodeKind::LastError},
    {"IHostFiles::Write", SimCodeKind::LastError},
    {"IPowerSwitch::ConnectServer", SimCodeKind::HResult},
    {"IPowerSwitch::CreateLocator", SimCodeKind::HResult},
    {"IPowerSwitch::ExecQuery", SimCodeKind::HResult},
    {"IPowerSwitch::GetSwitch", SimCodeKind::HResult},
    {"IPowerSwitch::GetText", SimCodeKind::HResult},
    {"IPowerSwitch::InitializeCom", SimCodeKind::HResult},
    {"IPowerSwitch::InitializeSecurity", SimCodeKind::HResult},
    {"IPowerSwitch::Next", SimCodeKind::HResult},
    {"IPowerSwitch::PutInstance", SimCodeKind::HResult},
    {"IPowerSwitch::PutSwitch", SimCodeKind::HResult},
    {"IPowerSwitch::Release", SimCodeKind::None},
    {"IPowerSwitch::SetProxyBlanket", SimCodeKind::HResult},
    {"IPowerSwitch::UninitializeCom", SimCodeKind::None},
    {"IProcess::CloseToken", SimCodeKind::LastError},
    {"IProcess::DisableRedirection", SimCodeKind::LastError},
    {"IProcess::FetchResource", SimCodeKind::LastError},
    {"IProcess::HasFunction", SimCodeKind::LastError},
    {"IProcess::LoadModule", SimCodeKind::LastError},
    {"IProcess::LoadedModule", SimCodeKind::LastError},
    {"IProcess::LocateResource", SimCodeKind::LastError},
    {"IProcess::ModulePath", SimCodeKind::LastError},
    {"IProcess::NarrowText", SimCodeKind::LastError},
    {"IProcess::NativeArchitecture", SimCodeKind::None},
    {"IProcess::OpenToken", SimCodeKind::LastError},
    {"IProcess::PinResource", SimCodeKind::LastError},
    {"IProcess::QueryWow64Process", SimCodeKind::LastError},
    {"IProcess::QueryWow64Process2", SimCodeKind::LastError},
    {"IProcess::ResourceSize", SimCodeKind::LastError},
    {"IProcess::RevertRedirection", SimCodeKind::LastError},
    {"IProcess::SystemVersion", SimCodeKind::LastError},
    {"IProcess::TokenElevation", SimCodeKind::LastError},
    {"IProcess::UnloadModule", SimCodeKind::LastError},
    {"IServiceManager::Close", SimCodeKind::LastError},
    {"IServiceManager::Control", SimCodeKind::LastError},
    {"IServiceManager::Create", SimCodeKind::LastError},
    {"IServiceManager::OpenManager", SimCodeKind::LastError},
    {"IServiceManager::OpenNamed", SimCodeKind::LastError},
    {"IServiceManager::Query", SimCodeKind::LastError},
    {"IServiceManager::Remove", SimCodeKind::LastError},
    {"IServiceManager::Start", SimCodeKind::LastError},
    {"IWinUsb::ControlTransfer", SimCodeKind::LastError},
    {"IWinUsb::Free", SimCodeKind::LastError},
    {"IWinUsb::Initialize", SimCodeKind::LastError},
    {"IWinUsb::TransferResult", SimCodeKind::LastError},
};
constexpr size_t kCount = std::size(kOperations);
static_assert(std::is_sorted(std::begin(kOperations), std::end(kOperations),
                             [](const Operation& a, const Operation& b) {
                                 return a.strName < b.strName;
                             }),
              "the table is searched by halving");

size_t PlaceOf(std::string_view strName)
{
    const Operation* const pFound = std::lower_bound(
        std::begin(kOperations), std::end(kOperations), strName,
        [](const Operation& operation, std::string_view name) { return operation.strName < name; });
    if (pFound == std::end(kOperations) || pFound->strName != strName)
        throw std::invalid_argument("no such operation: " + std::string(strName));
    return static_cast<size_t>(pFound - kOperations);
}

size_t FailablePlaceOf(std::string_view strName)
{
    const size_t nPlace = PlaceOf(strName);
    if (kOperations[nPlace].eKind == SimCodeKind::None)
        throw std::invalid_argument("cannot fail: " + std::string(strName));
    return nPlace;
}
} // namespace

CSimFaults::CSimFaults() : m_entries(kCount) {}

void CSimFaults::FailCall(std::string_view strOperation, unsigned n, DWORD dwCode)
{
    const std::lock_guard lock(m_lock);
    Entry& entry = m_entries[FailablePlaceOf(strOperation)];
    if (n <= entry.nCalls)
        throw std::invalid_argument("that call is over: " + std::string(strOperation));
    entry.single[n] = dwCode;
}

void CSimFaults::FailNext(std::string_view strOperation, DWORD dwCode)
{
    const std::lock_guard lock(m_lock);
    Entry& entry = m_entries[FailablePlaceOf(strOperation)];
    entry.single[entry.nCalls + 1] = dwCode;
}

void CSimFaults::FailAlways(std::string_view strOperation, DWORD dwCode)
{
    const std::lock_guard lock(m_lock);
    m_entries[FailablePlaceOf(strOperation)].always = dwCode;
}

void CSimFaults::Clear()
{
    const std::lock_guard lock(m_lock);
    for (Entry& entry : m_entries) {
        entry.single.clear();
        entry.always.reset();
    }
}

unsigned CSimFaults::Calls(std::string_view strOperation) const
{
    const std::lock_guard lock(m_lock);
    return m_entries[PlaceOf(strOperation)].nCalls;
}

std::map<std::string, unsigned> CSimFaults::Counts() const
{
    const std::lock_guard lock(m_lock);
    std::map<std::string, unsigned> counts;
    for (size_t i = 0; i < kCount; ++i)
        if (m_entries[i].nCalls != 0)
            counts.emplace(kOperations[i].strName, m_entries[i].nCalls);
    return counts;
}

void CSimFaults::ResetCounts()
{
    const std::lock_guard lock(m_lock);
    for (Entry& entry : m_entries)
        entry.nCalls = 0;
}

unsigned CSimFaults::Fired() const
{
    const std::lock_guard lock(m_lock);
    return m_nFired;
}

unsigned CSimFaults::Pending() const
{
    const std::lock_guard lock(m_lock);
    size_t nPending = 0;
    for (const Entry& entry : m_entries)
        nPending += entry.single.size();
    return static_cast<unsigned>(nPending);
}

std::vector<std::string> CSimFaults::Operations()
{
    std::vector<std::string> names;
    for (const Operation& operation : kOperations)
        names.emplace_back(operation.strName);
    return names;
}

SimCodeKind CSimFaults::KindOf(std::string_view strOperation)
{
    return kOperations[PlaceOf(strOperation)].eKind;
}

std::optional<DWORD> CSimFaults::Count(const char* pszOperation)
{
    const std::lock_guard lock(m_lock);
    Entry& entry = m_entries[CachedPlaceOf(pszOperation)];
    ++entry.nCalls;
    std::optional<DWORD> code = entry.always;
    if (const auto it = entry.single.find(entry.nCalls); it != entry.single.end()) {
        code = it->second;
        entry.single.erase(it);
    }
    if (code)
        ++m_nFired;
    return code;
}

size_t CSimFaults::CachedPlaceOf(const char* pszOperation)
{
    auto& [pszCached, nPlace] =
        m_cache[(reinterpret_cast<uintptr_t>(pszOperation) >> 3) % m_cache.size()];
    if (pszCached != pszOperation) {
        nPlace = PlaceOf(pszOperation);
        pszCached = pszOperation;
    }
    return nPlace;
}
