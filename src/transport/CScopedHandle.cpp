#include "transport/CScopedHandle.h"

#include "platform/IDeviceFile.h"
#include "platform/IDeviceTree.h"
#include "platform/IEventPipe.h"
#include "platform/IFileSystem.h"
#include "platform/IProcess.h"
#include "platform/IServiceManager.h"
#include "platform/Platform.h"

DWORD SystemError()
{
    return CurrentPlatform().Process().LastError();
}

void CloseDeviceSet(HANDLE hSet)
{
    CurrentPlatform().DeviceTree().DestroySet(hSet);
}

void CloseDeviceFile(HANDLE hDevice)
{
    CurrentPlatform().DeviceFile().Close(hDevice);
}

void CloseWideFile(HANDLE hFile)
{
    CurrentPlatform().FileSystem().Close(hFile);
}

void CloseService(HANDLE hManagerOrService)
{
    CurrentPlatform().ServiceManager().Close(hManagerOrService);
}

void CloseNamedEvent(HANDLE hEvent)
{
    CurrentPlatform().EventPipe().CloseEvent(hEvent);
}

void CloseNamedPipe(HANDLE hPipe)
{
    CurrentPlatform().EventPipe().ClosePipe(hPipe);
}

void CloseToken(HANDLE hToken)
{
    CurrentPlatform().Process().CloseToken(hToken);
}
