#include "bench/CBenchMachine.h"

#include "cmd/CRequestCMD.h"
#include "sim/models/CSimImage.h"

namespace
{
constexpr USHORT kOldVersion = 0x0100;

CSimNode& Plug(CSimMachine& machine, CSimHub& hub)
{
    machine.InstallRunningDriver();
    machine.Driver().KeepLog(false);
    CSimNode& node = machine.Tree().AddHub(machine.RootHub(), 1, {}, &hub);
    hub.AddPort(&node);
    SetCurrentPlatform(&machine);
    return node;
}
} // namespace

SimHubSettings CBenchMachine::Settings(DWORD cbImage)
{
    SimHubSettings settings;
    settings.cbBank = cbImage;
    return settings;
}

std::vector<BYTE> CBenchMachine::Image(DWORD cbImage, USHORT wVersion)
{
    return CSimImage(cbImage).Version(wVersion).Seed(wVersion).Build();
}

CBenchMachine::CBenchMachine(DWORD cbImage)
    : m_hub(m_machine.Time(), Settings(cbImage)), m_node(Plug(m_machine, m_hub))
{
    m_hub.LoadImage(Image(cbImage, kOldVersion));
    CRequestCMD::GetRequestObj()->XH_InitProxyDriver(&m_transport);
    m_finder.Attach(&m_device);
}

CBenchMachine::~CBenchMachine()
{
    m_finder.Detach(&m_device);
    CRequestCMD::GetRequestObj()->XH_UnInitProxyDriver();
    SetCurrentPlatform(nullptr);
}
