#pragma once

#include "cmd/CRequestCMD.h"
#include "sim/machine/CSimMachine.h"
#include "transport/CPropertyEx.h"

/// A process on a simulated computer with the driver started, for the whole life of a fuzzer.
class CFuzzHost
{
public:
    CFuzzHost()
    {
        machine.HostFiles().UseMemory();
        machine.Driver().KeepLog(false);
        SetCurrentPlatform(&machine);
        CRequestCMD::GetRequestObj()->XH_InitProxyDriver(&transport);
        m_nOpen = machine.Handles().Open().size();
    }
    CFuzzHost(const CFuzzHost&) = delete;
    CFuzzHost& operator=(const CFuzzHost&) = delete;
    ~CFuzzHost()
    {
        CRequestCMD::GetRequestObj()->XH_UnInitProxyDriver();
        SetCurrentPlatform(nullptr);
    }

    /// Whether everything that was opened since the start is closed, and nothing twice.
    bool IsTidy()
    {
        return machine.Handles().Open().size() == m_nOpen && machine.Handles().Misuses().empty();
    }

    CSimMachine machine;
    CPropertyEx transport;

private:
    std::size_t m_nOpen = 0;
};
