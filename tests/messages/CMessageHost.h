#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cmd/CRequestCMD.h"
#include "dev/CHubDev.h"
#include "find/CHubFind.h"
#include "flow/CUniversalFlow.h"
#include "messages/CMessageBench.h"

/// A host that drives the classes on a bench: transport bound and driver started, one hub device
/// attached to a hub finder. Everything is said before a log listens, unless the test wants
/// otherwise.
template<typename Device = CHubDev>
class CMessageHost
{
public:
    explicit CMessageHost(CMessageBench& bench) : m_bench(bench)
    {
        CRequestCMD::GetRequestObj()->XH_InitProxyDriver(&m_transport);
        finder.Attach(&dev);
        bench.machine.HostFiles().Put("image.bin", {});
    }
    CMessageHost(const CMessageHost&) = delete;
    CMessageHost& operator=(const CMessageHost&) = delete;
    ~CMessageHost()
    {
        m_bench.machine.Faults().Clear();
        CRequestCMD::GetRequestObj()->XH_CloseDevice();
        CRequestCMD::GetRequestObj()->XH_UnInitProxyDriver();
    }

    /// Opens the bench's hub without the finder.
    void Open() { CRequestCMD::GetRequestObj()->XH_OpenDevice(m_bench.HubInst()); }

    /// Puts an image file where the flow finds it.
    void Offer(const std::vector<BYTE>& image)
    {
        m_bench.machine.HostFiles().Put("image.bin", image);
        flow.InitFwFinder("image.bin");
    }

private:
    CMessageBench& m_bench;
    CPropertyEx m_transport;

public:
    CHubFind finder;
    Device dev;
    CUniversalFlow flow{&finder, &dev};
};
