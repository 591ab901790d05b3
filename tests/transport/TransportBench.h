#pragma once

#include "sim/machine/CSimMachine.h"
#include "sim/models/CSimHub.h"
#include "support/CMessageLog.h"
#include "transport/CPropertyEx.h"
#include "transport/LastTransportError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

/// What the library said, with questions that these tests ask.
class CTransportLog : public CMessageLog
{
public:
    /// Whoever said it, at whatever level.
    bool Says(const std::string& strText) const
    {
        return std::any_of(Lines().begin(), Lines().end(), [&](const std::string& strLine) {
            return strLine.ends_with("|" + strText);
        });
    }

    std::string Dump() const
    {
        std::string strAll = "all lines:\n";
        for (const std::string& strLine : Lines())
            strAll += strLine + (strLine.ends_with('\n') ? "" : "\n");
        return strAll;
    }
};

/// Reaches the private operations.
class CPropertyExTestAccess
{
public:
    explicit CPropertyExTestAccess(CPropertyEx& transport) : m_t(transport) {}

    _KYHUB_INST& Instance() { return m_t.m_inst; }
    MachineType& Machine() { return m_t.m_eMachine; }
    int& Wow64() { return m_t.m_nWow64; }

    DWORD OpenInterface(DWORD devInst, const GUID* pGuid, HANDLE* ph)
    {
        return m_t.GetDevInstInterfaceHandle(devInst, pGuid, ph);
    }
    int OpenByHandle(HANDLE h, LONGLONG* pll) { return m_t.KyProxy_OpenByHandle(h, pll); }
    int DeviceDescriptor(LONGLONG ll, USB_DEVICE_DESCRIPTOR* p)
    {
        return m_t.KyUsb_GetDeviceDescriptor(ll, p);
    }
    int Install(const WCHAR* pszPath, int nUpdated, int nFlag)
    {
        return m_t.InstallKyProxy(pszPath, nUpdated, nFlag);
    }
    int TurnOff(DWORD devInst) { return m_t.KyHub_TurnOffHubSS(devInst); }
    int TurnOff(DWORD devInst, DWORD& dwOld) { return m_t.KyHub_TurnOffHubSS(devInst, dwOld); }
    int IsRunasAdmin() { return m_t.IsRunasAdmin(); }

private:
    CPropertyEx& m_t;
};

/// A simulated process with one hub of the maker's on port 3, and a transport that is not
/// started.
class CBench
{
public:
    static constexpr DWORD kHub = 7;
    static constexpr const char* kHubId = "USB\\VID_1234&PID_5678\\5&1A2B&0&3";

    CBench() : CBench(std::make_shared<CSimSystem>()) {}

    /// Another process on a system that exists.
    explicit CBench(const std::shared_ptr<CSimSystem>& pSystem)
        : machine(pSystem), current(machine), hub(machine.Time()), node(HubNode())
    {
        SetLastTransportError(0);
    }

    /// Starts the driver and forgets what was said about it.
    void Start()
    {
        EXPECT_EQ(transport.InitProxyDriver(), 1) << log.Dump();
        Forget();
    }

    void StartAndOpen()
    {
        Start();
        EXPECT_EQ(transport.KyHub_OpenDeviceByDevInst(kHub), 0u) << log.Dump();
        Forget();
    }

    void Forget()
    {
        log.Clear();
        machine.Driver().ClearLog();
    }

    /// Transfers counted from now on: makes the n-th (1 = the next) fail.
    void FailTransfer(unsigned n, DWORD dwError)
    {
        machine.Driver().FailTransfer(machine.Driver().Transfers() + n, dwError);
    }

    CPropertyExTestAccess Access() { return CPropertyExTestAccess(transport); }

private:
    class CCurrent
    {
    public:
        explicit CCurrent(CSimMachine& machine) { SetCurrentPlatform(&machine); }
        CCurrent(const CCurrent&) = delete;
        CCurrent& operator=(const CCurrent&) = delete;
        ~CCurrent() { SetCurrentPlatform(nullptr); }
    };

    CSimNode& HubNode()
    {
        if (CSimNode* const pNode = machine.Tree().Find(kHub))
            return *pNode;
        CSimNode& root = machine.Tree().AddRootHub(machine.Tree().AddHostController());
        HubNodeOptions options;
        options.devInst = kHub;
        options.strSerial = WTEXT("5&1A2B&0&3");
        CSimNode& added = machine.Tree().AddHub(root, 3, options, &hub);
        hub.AddPort(&added);
        return added;
    }

public:
    CSimMachine machine;
    CCurrent current;
    CSimHub hub;
    CSimNode& node;
    CTransportLog log;
    CPropertyEx transport;
};
