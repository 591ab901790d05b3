#pragma once

class IClock;
class IDeviceFile;
class IDeviceTree;
class IEventPipe;
class IFileSystem;
class IHid;
class IHostFiles;
class IPowerSwitch;
class IProcess;
class IServiceManager;
class IWinUsb;

/// Hands out the services of one system: the real one, a simulated machine, or a mix. The
/// services live as long as the platform.
class Platform
{
public:
    virtual ~Platform() = default;

    virtual IDeviceTree& DeviceTree() = 0;
    virtual IDeviceFile& DeviceFile() = 0;
    virtual IServiceManager& ServiceManager() = 0;
    virtual IFileSystem& FileSystem() = 0;
    virtual IHostFiles& HostFiles() = 0;
    virtual IPowerSwitch& PowerSwitch() = 0;
    virtual IEventPipe& EventPipe() = 0;
    virtual IWinUsb& WinUsb() = 0;
    virtual IHid& Hid() = 0;
    virtual IProcess& Process() = 0;
    virtual IClock& Clock() = 0;
};

/// The process's current platform: the real one until another was set.
Platform& CurrentPlatform();

/// Sets the current platform (not owned; null: the real one again).
void SetCurrentPlatform(Platform* pPlatform);

/// The services of the system that this build is for; never destroyed.
Platform& RealPlatform();
