#pragma once

#include "platform/Platform.h"
#include "sim/driver/CBenchTree.h"
#include "sim/machine/CSimMachine.h"

#include <string>

/// A machine for the bench driver: the real services of this system, but for the device tree, the
/// power switch and the clock. The tree follows what the driver says about its bus, and sleeping
/// lets the time of that bus pass instead of the caller's.
class CBenchRoad : public Platform
{
public:
    /// @param machine with the device tree that the driver plays; stays the caller's
    explicit CBenchRoad(CSimMachine& machine) : m_machine(machine) {}

    /// Has the running driver play the machine of a bench file, in the state that is kept in
    /// strState (empty: nowhere). Leaves the last error alone.
    /// @return 0 or an error code (170: another program uses the driver, 13: no use as a bench,
    ///         2: no bench driver runs)
    DWORD Load(const std::string& strFile, const std::string& strState);

    /// Has the driver write the state file. @return true on success
    bool Keep(bool bFinal);

    /// The requests that the running driver has seen, a line each; "" while it does not run.
    std::string RequestLog();
    void ForgetRequests();

    IDeviceTree& DeviceTree() override { return m_tree; }
    IDeviceFile& DeviceFile() override { return m_real.DeviceFile(); }
    IServiceManager& ServiceManager() override { return m_real.ServiceManager(); }
    IFileSystem& FileSystem() override { return m_real.FileSystem(); }
    IHostFiles& HostFiles() override { return m_real.HostFiles(); }
    IPowerSwitch& PowerSwitch() override { return m_machine.PowerSwitch(); }
    IEventPipe& EventPipe() override { return m_real.EventPipe(); }
    IWinUsb& WinUsb() override { return m_machine.WinUsb(); }
    IHid& Hid() override { return m_real.Hid(); }
    IProcess& Process() override { return m_real.Process(); }
    IClock& Clock() override { return m_clock; }

private:
    /// The simulated clock, whose sleeps reach the driver's bus as well.
    class CRoadClock : public IClock
    {
    public:
        explicit CRoadClock(CBenchRoad& road) : m_road(road) {}
        void Sleep(DWORD dwMs) override;
        LONGLONG Counter() override { return m_road.m_machine.Clock().Counter(); }
        LONGLONG Frequency() override { return m_road.m_machine.Clock().Frequency(); }
        void LocalTime(CALENDAR_TIME* pTime) override { m_road.m_real.Clock().LocalTime(pTime); }

    private:
        CBenchRoad& m_road;
    };

    Platform& m_real = RealPlatform();
    CSimMachine& m_machine;
    CBenchTree m_tree{m_machine, m_real};
    CRoadClock m_clock{*this};
};
