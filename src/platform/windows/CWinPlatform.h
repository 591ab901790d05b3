#pragma once

#include "platform/Platform.h"
#include "platform/windows/CWinClock.h"
#include "platform/windows/CWinDeviceFile.h"
#include "platform/windows/CWinDeviceTree.h"
#include "platform/windows/CWinEventPipe.h"
#include "platform/windows/CWinFileSystem.h"
#include "platform/windows/CWinHid.h"
#include "platform/windows/CWinHostFiles.h"
#include "platform/windows/CWinPowerSwitch.h"
#include "platform/windows/CWinProcess.h"
#include "platform/windows/CWinServiceManager.h"
#include "platform/windows/CWinWinUsb.h"

/// The services of a Windows machine.
class CWinPlatform : public Platform
{
public:
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
    CWinDeviceTree m_deviceTree;
    CWinDeviceFile m_deviceFile;
    CWinServiceManager m_serviceManager;
    CWinFileSystem m_fileSystem;
    CWinHostFiles m_hostFiles;
    CWinPowerSwitch m_powerSwitch;
    CWinEventPipe m_eventPipe;
    CWinWinUsb m_winUsb;
    CWinHid m_hid;
    CWinProcess m_process;
    CWinClock m_clock;
};
