#pragma once

#include <list>

#include "transport/IPropertyEx.h"

struct URB;
struct USB_DEVICE_DESCRIPTOR;
struct USB_STRING_DESCRIPTOR;

/// The processor family that chooses a driver image.
enum MachineType : int
{
    MACHINE_OTHER = 0,
    MACHINE_X86 = 1,
    MACHINE_X64 = 2,
    MACHINE_ARM64 = 4
};

/// A fixed file version.
struct _tag_VERSION // NOLINT(bugprone-reserved-identifier)
{
    USHORT wMajor;
    USHORT wMinor;
    USHORT wBuild;
    USHORT wRevision;
};

/// The open hub, cleared whole at every open.
struct _KYHUB_INST // NOLINT(bugprone-reserved-identifier)
{
    BYTE signature[4];   ///< "KYHD"
    LONGLONG llDevice;   ///< proxy device handle, 0 = no device open
    LONGLONG llReserved; ///< cleared on close
    HANDLE hInterface;   ///< hub interface file, null = none
    _myUSB_DEVICE_SPEED eSpeed;
    DWORD dwPort;   ///< port on the parent
    DWORD dwOpened; ///< 1 once an open has looked at the location, 0 after close
};

/// The transport through the kernel proxy driver. Copies borrow the handles: only the object
/// that opened them closes them.
class ZEL_API CPropertyEx : public IPropertyEx
{
public:
    CPropertyEx();
    CPropertyEx(const CPropertyEx& other);
    CPropertyEx& operator=(const CPropertyEx& other);

    /// Closes, silently, the handles that this object opened and still holds.
    ~CPropertyEx() override;

    DWORD KyHub_OpenDeviceByDevInst(DWORD devInst, DWORD& dwOldSSValue) override;
    DWORD KyHub_OpenDeviceByDevInst(DWORD devInst) override;
    DWORD KyHub_CloseDevice() override;
    int InitProxyDriver() override;
    int XH_UnInitProxyDriver() override;
    DWORD KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex, BYTE* pBuffer,
                          DWORD dwLength, DWORD dwTimeoutMs) override;
    DWORD KyHub_WritePortUCHAR(DWORD dwAddr, BYTE byValue) override;
    DWORD KyHub_ReadPortUCHAR(DWORD dwAddr, BYTE* pbyValue) override;
    DWORD KyHub_WriteMemoryUCHAR(DWORD dwAddr, BYTE* pData, DWORD dwLength) override;
    DWORD KyHub_ReadMemoryUCHAR(DWORD dwAddr, BYTE* pData, DWORD dwLength) override;
    DWORD KyHub_CtlPipeNoDataOut(BYTE* pSetup) override;
    DWORD KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData) override;
    DWORD KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData) override;
    DWORD KyHub_Speed(_myUSB_DEVICE_SPEED* pSpeed) override;
    int KyHub_IsVoHub(DWORD devInst, int nAcceptSmBus) override;
    DWORD KyHub_OpenHidDeviceByDevInst(DWORD devInst) override;
    void KyHub_Free(_KYHUB_INST** ppInstance) override;
    int KyHid_IsITEHid(DWORD devInst) override;
    DWORD HidGetDevInstInterfaceHandle(DWORD devInst, const GUID* pGuid,
                                       HANDLE* phInterface) override;
    int KyHub_TurnOnHubSS(DWORD devInst) override;

private:
    struct DEVICE_OPEN;

    void CloseOwned();

    // Finding, opening, transfers
    DWORD OpenDevice(DWORD devInst, const DEVICE_OPEN& how);
    static DEVICE_OPEN HubOpen();
    static DWORD RefuseOpen(const DEVICE_OPEN& how);
    DWORD OpenElement(DWORD devInst, const DEVICE_OPEN& how, HANDLE* phInterface);
    DWORD OpenProxyDevice(const DEVICE_OPEN& how, HANDLE hInterface);
    DWORD GetDevInstInterfaceHandle(DWORD devInst, const GUID* pGuid, HANDLE* phInterface);
    int KyProxy_OpenByHandle(HANDLE hInterface, LONGLONG* pllDevice);
    int KyProxy_SendUrb(LONGLONG llDevice, URB* pUrb, DWORD dwTimeoutMs);
    int KyProxy_Close(LONGLONG llDevice);
    DWORD KyHub_SendUrb(URB* pUrb);
    int KyUsb_GetDeviceDescriptor(LONGLONG llDevice, USB_DEVICE_DESCRIPTOR* pOut);
    int KyUsb_GetStringDescriptor(LONGLONG llDevice, USB_STRING_DESCRIPTOR* pOut, int nLength,
                                  BYTE byIndex, USHORT wLanguage);
    int ProbeIdentity(DWORD devInst, int nAcceptSmBus);
    int ReadIdentity(LONGLONG llDevice, WString* pstrIdentity);
    int AwaitDescriptor(LONGLONG llDevice, USB_DEVICE_DESCRIPTOR* pOut);
    int ReadIdentityDescriptor(LONGLONG llDevice, USB_STRING_DESCRIPTOR* pOut);
    void zel_dump(BYTE* pData, DWORD dwLength); ///< stays a no-op

    // Driver installation
    int InstallDriver();
    int PlaceDriverFile(const WCHAR* pszInstalled, int* pnUpdated);
    int WriteTemporaryDriver(const WCHAR* pszTemporary);
    void JoinFlagFile(const WCHAR* pszFlag);
    int OpenControlDevice();
    int InstallKyProxy(const WCHAR* pszDriverPath, int nUpdated, int nFlagExists);
    void UninstallKyProxy();
    int IsWow64();
    int IsWow64_2(MachineType* pMachine);
    int FileExists(const WCHAR* pszPath);
    int FlagFileExists(const WCHAR* pszPath);
    int GetFileVersion(const WCHAR* pszPath, _tag_VERSION* pVersion);
    DWORD CompareFileVersion(const WCHAR* pszA, const WCHAR* pszB);

    // Selective suspend
    int TurnOffHubSS(DWORD devInst, DWORD* pdwOldSSValue);
    int TurnOffSS(WCHAR** ppszIds, int nCount, DWORD* pdwOldSSValue);
    int KyHub_TurnOffHubSS(DWORD devInst);
    int KyHub_TurnOffHubSS(DWORD devInst, DWORD& dwOldSSValueOut);
    int Wmi_TurnoffSS(WCHAR** ppszIds, int nCount);
    int Wmi_TurnoffSS(WCHAR** ppszIds, int nCount, DWORD& dwOldSSValueOut);
    int Wmi_TurnOnSS(WCHAR** ppszIds, int nCount);
    int WaitServiceSwitchSS(WCHAR** ppszIds, int nCount, int nTurnOn);
    int IsRunasAdmin();

    std::list<WString> m_lstUnused;
    WString m_strUnused;
    HANDLE hProxyDriver = nullptr; ///< control device, null = not open
    int m_nWow64 = 0;
    HANDLE m_hFlagFile; ///< usage marker, invalid = not held
    _KYHUB_INST m_inst = {};
    DWORD m_dwOne = 1;
    MachineType m_eMachine = MACHINE_OTHER;
    bool m_bOwnsDriver = false;   ///< this object opened hProxyDriver
    bool m_bOwnsFlagFile = false; ///< this object opened the flag file
    bool m_bOwnsDevice = false;   ///< this object opened the instance block's interface

    friend class CPropertyExTestAccess; ///< tests reach the private operations
};
