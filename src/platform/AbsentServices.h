#pragma once

#include "platform/ErrorCodes.h"
#include "platform/IDeviceFile.h"
#include "platform/IDeviceTree.h"
#include "platform/IEventPipe.h"
#include "platform/IHid.h"
#include "platform/IPowerSwitch.h"
#include "platform/IProcess.h"
#include "platform/IServiceManager.h"
#include "platform/IWinUsb.h"

/// Services of a system that has none of the kind: each refuses as the system would, so that the
/// library's ordinary failure road is the one that is taken. They set the last error of the
/// process service that they are given.

class CAbsentDeviceTree : public IDeviceTree
{
public:
    explicit CAbsentDeviceTree(IProcess& process) : m_process(process) {}
    HANDLE GetClassDevs(const GUID*, const WCHAR*, DWORD) override;
    bool EnumDeviceInfo(HANDLE, DWORD, DEVINFO_DATA*) override;
    bool EnumDeviceInterfaces(HANDLE, const DEVINFO_DATA*, const GUID*, DWORD,
                              DEVINTERFACE_DATA*) override;
    bool GetInterfaceDetail(HANDLE, const DEVINTERFACE_DATA*, DEVINTERFACE_DETAIL*, DWORD,
                            DWORD*) override;
    bool GetRegistryProperty(HANDLE, const DEVINFO_DATA*, DWORD, DWORD*, BYTE*, DWORD,
                             DWORD*) override;
    bool DestroySet(HANDLE) override;
    DWORD GetParent(DWORD*, DWORD) override { return kCrNoSuchDevNode; }
    DWORD GetChild(DWORD*, DWORD) override { return kCrNoSuchDevNode; }
    DWORD GetSibling(DWORD*, DWORD) override { return kCrNoSuchDevNode; }
    DWORD GetNodeStatus(DWORD*, DWORD*, DWORD) override { return kCrNoSuchDevNode; }
    DWORD GetDeviceId(DWORD, WCHAR*, DWORD) override { return kCrNoSuchDevNode; }
    DWORD GetNodeProperty(DWORD, const DEVPROP_KEY*, DWORD*, BYTE*, DWORD* pcb) override;

private:
    IProcess& m_process;
};

class CAbsentDeviceFile : public IDeviceFile
{
public:
    explicit CAbsentDeviceFile(IProcess& process) : m_process(process) {}
    HANDLE Open(const WCHAR*, DWORD, DWORD, DWORD, DWORD) override;
    bool Close(HANDLE) override;
    bool Control(HANDLE, DWORD, const void*, DWORD, void*, DWORD, DWORD*) override;

private:
    IProcess& m_process;
};

class CAbsentServiceManager : public IServiceManager
{
public:
    explicit CAbsentServiceManager(IProcess& process) : m_process(process) {}
    HANDLE OpenManager(DWORD) override;
    HANDLE OpenNamed(HANDLE, const WCHAR*, DWORD) override;
    HANDLE Create(HANDLE, const SERVICE_RECIPE&) override;
    bool Query(HANDLE, SERVICE_STATE*) override;
    bool Control(HANDLE, DWORD, SERVICE_STATE*) override;
    bool Start(HANDLE) override;
    bool Remove(HANDLE) override;
    bool Close(HANDLE) override;

private:
    IProcess& m_process;
};

class CAbsentPowerSwitch : public IPowerSwitch
{
public:
    LONG InitializeCom(DWORD) override { return kHrNotImplemented; }
    void UninitializeCom() override {}
    LONG InitializeSecurity(int, DWORD, DWORD, DWORD) override { return kHrNotImplemented; }
    LONG CreateLocator(HANDLE*) override { return kHrNotImplemented; }
    LONG ConnectServer(HANDLE, const WCHAR*, HANDLE*) override { return kHrNotImplemented; }
    LONG SetProxyBlanket(HANDLE, DWORD, DWORD, DWORD, DWORD, DWORD) override;
    LONG ExecQuery(HANDLE, const WCHAR*, const WCHAR*, DWORD, HANDLE*) override;
    LONG Next(HANDLE, LONG, HANDLE*, DWORD* pdwReturned) override;
    LONG GetText(HANDLE, const WCHAR*, WString*) override { return kHrNotImplemented; }
    LONG GetSwitch(HANDLE, const WCHAR*, DWORD*) override { return kHrNotImplemented; }
    LONG PutSwitch(HANDLE, const WCHAR*, bool) override { return kHrNotImplemented; }
    LONG PutInstance(HANDLE, HANDLE, DWORD) override { return kHrNotImplemented; }
    void Release(HANDLE) override {}
};

class CAbsentEventPipe : public IEventPipe
{
public:
    explicit CAbsentEventPipe(IProcess& process) : m_process(process) {}
    HANDLE OpenNamedEvent(DWORD, const WCHAR*) override;
    HANDLE MakeEvent(bool, bool) override;
    DWORD WaitEvent(HANDLE, DWORD) override;
    bool CloseEvent(HANDLE) override;
    bool WaitPipe(const WCHAR*, DWORD) override;
    HANDLE OpenPipe(const WCHAR*, DWORD) override;
    bool WritePipe(HANDLE, const void*, DWORD, DWORD*) override;
    bool ClosePipe(HANDLE) override;

private:
    IProcess& m_process;
};

class CAbsentWinUsb : public IWinUsb
{
public:
    explicit CAbsentWinUsb(IProcess& process) : m_process(process) {}
    bool Initialize(HANDLE, HANDLE*) override;
    bool ControlTransfer(HANDLE, const BYTE*, BYTE*, DWORD, DWORD*, OVERLAPPED_TRANSFER*) override;
    bool TransferResult(HANDLE, OVERLAPPED_TRANSFER*, DWORD*, DWORD, bool) override;
    bool Free(HANDLE) override;

private:
    IProcess& m_process;
};

class CAbsentHid : public IHid
{
public:
    void GetHidGuid(GUID* pGuid) override;
    BYTE GetPreparsedData(HANDLE, HANDLE*) override { return 0; }
    LONG GetCaps(HANDLE, HID_CAPS*) override { return kHrFail; }
    BYTE FreePreparsedData(HANDLE) override { return 0; }
};
