#include "sim/machine/CSimMachine.h"

#include "wire/DriverNames.h"

namespace
{
constexpr size_t kDriverLength = 38472;
} // namespace

CSimMachine::CSimMachine() : CSimMachine(std::make_shared<CSimSystem>())
{
    CSimNode& controller = Tree().AddHostController();
    Tree().AddRootHub(controller);
}

CSimMachine::CSimMachine(std::shared_ptr<CSimSystem> pSystem) : m_pSystem(std::move(pSystem)) {}

CSimMachine::~CSimMachine()
{
    m_handles.CloseAll();
    if (&CurrentPlatform() == this)
        SetCurrentPlatform(nullptr);
}

CSimNode& CSimMachine::HostController()
{
    return *Tree().Nodes().at(0);
}

CSimNode& CSimMachine::RootHub()
{
    return *Tree().Nodes().at(1);
}

void CSimMachine::InstallRunningDriver()
{
    SimService service;
    service.strName = ZELUPX_SERVICE_NAME;
    service.strDisplayName = WTEXT("ZelUpx Driver");
    service.strImagePath = WTEXT("C:\\Windows\\system32\\drivers\\ZelUpx.sys");
    service.dwState = kStateRunning;
    Volume().Put(service.strImagePath, CSimVolume::VersionedImage(kDriverLength, 9, 9, 9, 9));
    Services().Put(std::move(service));
}

bool CSimMachine::Enter(const char* pszOperation)
{
    const auto code = m_faults.Count(pszOperation);
    return !code || Fail(*code);
}

bool CSimMachine::Fail(DWORD dwError)
{
    m_process.SetLastError(dwError);
    return false;
}

HANDLE CSimMachine::FailInvalid(DWORD dwError)
{
    m_process.SetLastError(dwError);
    return InvalidHandle();
}

HANDLE CSimMachine::FailNull(DWORD dwError)
{
    m_process.SetLastError(dwError);
    return nullptr;
}
