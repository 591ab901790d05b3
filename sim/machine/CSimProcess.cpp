#include "sim/machine/CSimProcess.h"

#include "sim/machine/CSimMachine.h"
#include "sim/machine/SimText.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr DWORD kErrInvalidFunction = 1;
constexpr DWORD kErrModuleNotFound = 126;
constexpr DWORD kErrProcNotFound = 127;

class CModuleObject : public CSimHandleObject
{};

class CTokenObject : public CSimHandleObject
{};

bool IsKernel(const WCHAR* pszName)
{
    const WString strName = SimText::Of(pszName);
    return SimText::SameNoCase(strName, WTEXT("kernel32")) ||
           SimText::SameNoCase(strName, WTEXT("kernel32.dll"));
}
} // namespace

DWORD CSimProcess::LastError() const
{
    const std::lock_guard lock(m_lock);
    const auto it = m_lastErrors.find(std::this_thread::get_id());
    return it == m_lastErrors.end() ? kErrNone : it->second;
}

void CSimProcess::SetLastError(DWORD dwError)
{
    const std::lock_guard lock(m_lock);
    m_lastErrors[std::this_thread::get_id()] = dwError;
}

DWORD CSimProcess::ModulePath(const void* pCode, char* pBuffer, DWORD cb)
{
    if (!m_machine.Enter("IProcess::ModulePath"))
        return 0;
    if (!m_traits.modulePath) {
        IProcess& real = RealPlatform().Process();
        const DWORD cbDone = real.ModulePath(pCode, pBuffer, cb);
        if (cbDone == 0)
            m_machine.Fail(real.LastError());
        return cbDone;
    }
    const std::string& strPath = *m_traits.modulePath;
    if (pBuffer == nullptr || cb < strPath.size() + 1) {
        m_machine.Fail(kErrInsufficientBuffer);
        return 0;
    }
    std::memcpy(pBuffer, strPath.c_str(), strPath.size() + 1);
    return static_cast<DWORD>(strPath.size());
}

int CSimProcess::NarrowText(const WCHAR* pszText, int cch, char* pBuffer, int cb)
{
    if (!m_machine.Enter("IProcess::NarrowText"))
        return 0;
    if (pszText == nullptr || cch == 0 || cch < -1 || cb < 0 || (cb > 0 && pBuffer == nullptr)) {
        m_machine.Fail(kErrInvalidParameter);
        return 0;
    }
    std::string strNarrow =
        SimText::Narrow(cch == -1 ? WString(pszText) : WString(pszText, static_cast<size_t>(cch)));
    if (cch == -1)
        strNarrow.push_back('\0');
    const auto cbNeeded = static_cast<int>(strNarrow.size());
    if (cb == 0)
        return cbNeeded;
    if (cb < cbNeeded) {
        m_machine.Fail(kErrInsufficientBuffer);
        return 0;
    }
    std::copy(strNarrow.begin(), strNarrow.end(), pBuffer);
    return cbNeeded;
}

HANDLE CSimProcess::LoadedModule(const WCHAR* pszName)
{
    if (!m_machine.Enter("IProcess::LoadedModule"))
        return nullptr;
    return IsKernel(pszName) ? static_cast<HANDLE>(&m_traits)
                             : m_machine.FailNull(kErrModuleNotFound);
}

HANDLE CSimProcess::LoadModule(const WCHAR* pszName)
{
    if (!m_machine.Enter("IProcess::LoadModule"))
        return nullptr;
    if (!IsKernel(pszName))
        return m_machine.FailNull(kErrModuleNotFound);
    return m_machine.Handles().Add("module", SimText::Narrow(SimText::Of(pszName)),
                                   std::make_shared<CModuleObject>());
}

bool CSimProcess::UnloadModule(HANDLE hModule)
{
    if (!m_machine.Enter("IProcess::UnloadModule"))
        return false;
    return m_machine.Handles().Close<CModuleObject>(hModule) || m_machine.Fail(kErrInvalidHandle);
}

bool CSimProcess::HasFunction(HANDLE hModule, const char* pszName)
{
    if (!m_machine.Enter("IProcess::HasFunction"))
        return false;
    const bool bModule =
        hModule == &m_traits || m_machine.Handles().Find<CModuleObject>(hModule) != nullptr;
    if (!bModule)
        return m_machine.Fail(kErrInvalidHandle);
    return m_traits.functions.contains(pszName) || m_machine.Fail(kErrProcNotFound);
}

bool CSimProcess::QueryWow64Process2(USHORT* pProcessMachine, USHORT* pNativeMachine)
{
    if (!m_machine.Enter("IProcess::QueryWow64Process2"))
        return false;
    if (!m_traits.functions.contains("IsWow64Process2"))
        return m_machine.Fail(kErrProcNotFound);
    *pProcessMachine = m_traits.wProcessMachine;
    *pNativeMachine = m_traits.wNativeMachine;
    return true;
}

bool CSimProcess::QueryWow64Process(int* pnWow64)
{
    if (!m_machine.Enter("IProcess::QueryWow64Process"))
        return false;
    if (!m_traits.functions.contains("IsWow64Process"))
        return m_machine.Fail(kErrProcNotFound);
    *pnWow64 = IsWow64() ? 1 : 0;
    return true;
}

bool CSimProcess::DisableRedirection(void** ppOld)
{
    if (!m_machine.Enter("IProcess::DisableRedirection"))
        return false;
    if (!IsWow64())
        return m_machine.Fail(kErrInvalidFunction);
    ++m_nDisabled;
    *ppOld = &m_nDisabled;
    return true;
}

bool CSimProcess::RevertRedirection(void* pOld)
{
    if (!m_machine.Enter("IProcess::RevertRedirection"))
        return false;
    if (!IsWow64() || pOld != &m_nDisabled || m_nDisabled == 0)
        return m_machine.Fail(kErrInvalidParameter);
    --m_nDisabled;
    return true;
}

USHORT CSimProcess::NativeArchitecture()
{
    (void)m_machine.Fault("IProcess::NativeArchitecture");
    return m_traits.wArchitecture;
}

bool CSimProcess::SystemVersion(DWORD* pMajor, DWORD* pMinor)
{
    if (!m_machine.Enter("IProcess::SystemVersion"))
        return false;
    *pMajor = m_traits.dwMajor;
    *pMinor = m_traits.dwMinor;
    return true;
}

bool CSimProcess::OpenToken(DWORD /*dwAccess*/, HANDLE* phToken)
{
    if (!m_machine.Enter("IProcess::OpenToken"))
        return false;
    *phToken = m_machine.Handles().Add("token", "", std::make_shared<CTokenObject>());
    return true;
}

bool CSimProcess::TokenElevation(HANDLE hToken, DWORD* pdwElevated, DWORD* pcb)
{
    if (!m_machine.Enter("IProcess::TokenElevation"))
        return false;
    if (m_machine.Handles().Find<CTokenObject>(hToken) == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    *pdwElevated = m_traits.bElevated ? 1 : 0;
    *pcb = m_traits.cbElevation;
    return true;
}

bool CSimProcess::CloseToken(HANDLE hToken)
{
    if (!m_machine.Enter("IProcess::CloseToken"))
        return false;
    return m_machine.Handles().Close<CTokenObject>(hToken) || m_machine.Fail(kErrInvalidHandle);
}

HANDLE CSimProcess::LocateResource(const void* /*pCode*/, USHORT wId, const WCHAR* pszType)
{
    if (!m_machine.Enter("IProcess::LocateResource"))
        return nullptr;
    if (m_traits.portDriver.empty())
        return m_machine.FailNull(kErrResourceDataNotFound);
    if (wId != 0 || pszType != nullptr)
        return m_machine.FailNull(kErrResourceNameNotFound);
    return &m_traits.portDriver;
}

HANDLE CSimProcess::FetchResource(HANDLE hResource)
{
    if (!m_machine.Enter("IProcess::FetchResource"))
        return nullptr;
    return hResource == &m_traits.portDriver ? hResource : m_machine.FailNull(kErrInvalidHandle);
}

const BYTE* CSimProcess::PinResource(HANDLE hFetched)
{
    if (!m_machine.Enter("IProcess::PinResource"))
        return nullptr;
    return hFetched == &m_traits.portDriver ? m_traits.portDriver.data() : nullptr;
}

DWORD CSimProcess::ResourceSize(HANDLE hResource)
{
    if (!m_machine.Enter("IProcess::ResourceSize"))
        return 0;
    return hResource == &m_traits.portDriver ? static_cast<DWORD>(m_traits.portDriver.size()) : 0;
}
