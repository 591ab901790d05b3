#include "sim/driver/CBenchCaller.h"

#include "sim/driver/BenchProtocol.h"
#include "sim/machine/CSimDevicePath.h"

#include <string>

// clang-format off
#include <windows.h>
#include <winternl.h>
// clang-format on

namespace
{
constexpr auto kObjectNameInformation = static_cast<OBJECT_INFORMATION_CLASS>(1);

using QueryObject = NTSTATUS(WINAPI*)(HANDLE, OBJECT_INFORMATION_CLASS, void*, ULONG, ULONG*);

/// The name of the device that a handle of this process stands for.
std::wstring NameOf(HANDLE hFile)
{
    static const auto s_pfnQuery = reinterpret_cast<QueryObject>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll"), "NtQueryObject")));
    alignas(UNICODE_STRING) BYTE buffer[1024] = {};
    ULONG cb = 0;
    if (s_pfnQuery(hFile, kObjectNameInformation, buffer, sizeof buffer, &cb) != 0)
        return {};
    const auto* const pName = reinterpret_cast<const UNICODE_STRING*>(buffer);
    return pName->Buffer == nullptr ? std::wstring()
                                    : std::wstring(pName->Buffer, pName->Length / sizeof(WCHAR));
}
} // namespace

CBenchCaller::CBenchCaller(CSimSystem& system, DWORD dwProcess)
    : m_system(system),
      m_hProcess(::OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE |
                                   PROCESS_DUP_HANDLE,
                               FALSE, dwProcess))
{}

CBenchCaller::~CBenchCaller()
{
    if (m_hProcess != nullptr)
        ::CloseHandle(m_hProcess);
}

std::shared_ptr<ISimUsbDevice> CBenchCaller::DeviceBehind(ULONGLONG fileHandle)
{
    HANDLE hCopy = nullptr;
    HANDLE const hTheirs = reinterpret_cast<HANDLE>(fileHandle); // NOLINT
    if (::DuplicateHandle(m_hProcess, hTheirs, ::GetCurrentProcess(), &hCopy, 0, FALSE,
                          DUPLICATE_SAME_ACCESS) == FALSE)
        return nullptr;
    const std::wstring strName = NameOf(hCopy);
    ::CloseHandle(hCopy);
    const std::wstring strPrefix = BENCH_NODE_DEVICE;
    if (strName.compare(0, strPrefix.size(), strPrefix) != 0)
        return nullptr;
    const auto nNode = static_cast<size_t>(std::stoul(strName.substr(strPrefix.size())));
    CSimNode& node = *m_system.tree.Nodes().at(nNode);
    return std::make_shared<CSimDevicePath>(node, m_system.polls, m_system.clock);
}

void* CBenchCaller::Memory(ULONGLONG address, size_t cb)
{
    auto pRange = std::make_unique<Range>();
    pRange->address = address;
    pRange->now.resize(cb);
    SIZE_T cbDone = 0;
    const void* const pTheirs = reinterpret_cast<const void*>(address); // NOLINT
    if (::ReadProcessMemory(m_hProcess, pTheirs, pRange->now.data(), cb, &cbDone) == FALSE ||
        cbDone != cb)
        return nullptr;
    pRange->before = pRange->now;
    m_ranges.push_back(std::move(pRange));
    return m_ranges.back()->now.data();
}

bool CBenchCaller::CopyBack()
{
    bool bDone = true;
    for (const auto& pRange : m_ranges) {
        if (pRange->now == pRange->before)
            continue;
        SIZE_T cbDone = 0;
        void* const pTheirs = reinterpret_cast<void*>(pRange->address); // NOLINT
        bDone = ::WriteProcessMemory(m_hProcess, pTheirs, pRange->now.data(), pRange->now.size(),
                                     &cbDone) != FALSE &&
                bDone;
    }
    return bDone;
}
