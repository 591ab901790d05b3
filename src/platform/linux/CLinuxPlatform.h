#pragma once

#include "platform/AbsentServices.h"
#include "platform/Platform.h"
#include "platform/linux/CLinuxClock.h"
#include "platform/linux/CLinuxDeviceFile.h"
#include "platform/linux/CLinuxDeviceTree.h"
#include "platform/linux/CLinuxEventPipe.h"
#include "platform/linux/CLinuxFileSystem.h"
#include "platform/linux/CLinuxHid.h"
#include "platform/linux/CLinuxHostFiles.h"
#include "platform/linux/CLinuxPowerSwitch.h"
#include "platform/linux/CLinuxProcess.h"
#include "platform/linux/CLinuxWinUsb.h"

/// The services of a Linux machine.
class CLinuxPlatform : public Platform
{
public:
    explicit CLinuxPlatform(const LINUX_ROOTS& roots = {});

    IDeviceTree& DeviceTree() override { return m_deviceTree; }
    IDeviceFile& DeviceFile() override { return m_deviceFile; }
    IServiceManager& ServiceManager() override { return m_serviceManager; }
    IFileSystem& FileSystem() override { return m_fileSystem; }
    IHostFiles& HostFiles() override { return m_hostFiles; }
    IPowerSwitch& PowerSwitch() override { return m_powerSwitch; }
    IEventPipe& EventPipe() override { return m_eventPipe; }
    IWinUsb& WinUsb() override { return m_winUsb; }
    IHid& Hid() override { return m_hid; }
    IProcess& Process() override { return m_process; }
    IClock& Clock() override { return m_clock; }

private:
    CLinuxProcess m_process;
    CLinuxClock m_clock;
    CLinuxFileSystem m_fileSystem;
    CLinuxHostFiles m_hostFiles;
    CLinuxNodes m_nodes;
    CLinuxDeviceTree m_deviceTree{m_nodes};
    CLinuxHandles m_handles;
    CLinuxDeviceFile m_deviceFile;
    CAbsentServiceManager m_serviceManager{m_process};
    CLinuxPowerSwitch m_powerSwitch;
    CLinuxEventPipe m_eventPipe{m_process, m_handles};
    CLinuxWinUsb m_winUsb{m_handles};
    CLinuxHid m_hid{m_handles};
};
