#pragma once

#include "platform/Types.h"

/// One element of a device set (layout of SP_DEVINFO_DATA, 64-bit).
struct DEVINFO_DATA
{
    DWORD cbSize; ///< set to sizeof before the call
    GUID ClassGuid;
    DWORD DevInst;
    uintptr_t Reserved;
};
static_assert(sizeof(DEVINFO_DATA) == 32);

/// One interface of an element (layout of SP_DEVICE_INTERFACE_DATA, 64-bit).
struct DEVINTERFACE_DATA
{
    DWORD cbSize; ///< set to sizeof before the call
    GUID InterfaceClassGuid;
    DWORD Flags;
    uintptr_t Reserved;
};
static_assert(sizeof(DEVINTERFACE_DATA) == 32);

/// The head of an interface detail; the zero-terminated path goes on behind DevicePath[0].
struct DEVINTERFACE_DETAIL
{
    DWORD cbSize; ///< kDetailHeadSize, whatever the size of the buffer
    WCHAR DevicePath[1];
};
static_assert(sizeof(DEVINTERFACE_DETAIL) == 8);
constexpr DWORD kDetailHeadSize = 8;

/// The key of a node property: GUID and number.
struct DEVPROP_KEY
{
    GUID fmtid;
    DWORD pid;
};

constexpr DWORD kDevPropString = 18;       ///< the preset type of the library's reads
constexpr DWORD kDevPropStringList = 8210; ///< the type that a string list really has

constexpr DEVPROP_KEY kKeyLocationPaths = {
    {0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}}, 37};
constexpr DEVPROP_KEY kKeyCompatibleIds = {
    {0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}}, 4};
constexpr DEVPROP_KEY kKeyHardwareIds = {
    {0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}}, 3};

constexpr GUID kGuidUsbHub = {
    0xF18A0E88, 0xC30C, 0x11D0, {0x88, 0x15, 0x00, 0xA0, 0xC9, 0x06, 0xBE, 0xD8}};
constexpr GUID kGuidUsbHostController = {
    0x3ABF6F2D, 0x71C4, 0x462A, {0x8A, 0x92, 0x1E, 0x68, 0x61, 0xE6, 0xAF, 0x27}};
constexpr GUID kGuidUsbDevice = {
    0xA5DCBF10, 0x6530, 0x11D2, {0x90, 0x1F, 0x00, 0xC0, 0x4F, 0xB9, 0x51, 0xED}};
constexpr GUID kGuidHid = {
    0x4D1E55B2, 0xF16F, 0x11CF, {0x88, 0xCB, 0x00, 0x11, 0x11, 0x00, 0x00, 0x30}};

/// Flags of a device-set request.
constexpr DWORD kSetPresent = 0x02;
constexpr DWORD kSetAllClasses = 0x04;
constexpr DWORD kSetDeviceInterface = 0x10;

/// Node status: the node has a problem (DN_HAS_PROBLEM).
constexpr DWORD kNodeHasProblem = 0x400;

/// Registry properties of an element (SPDRP_...).
constexpr DWORD kPropDeviceDesc = 0;
constexpr DWORD kPropHardwareId = 1;
constexpr DWORD kPropLocationInformation = 13;

/// Device sets and device nodes. The first group reports failures by the thread's last error,
/// the second by a configuration-manager code. A success leaves the last error alone, but for
/// GetClassDevs.
class IDeviceTree
{
public:
    virtual ~IDeviceTree() = default;

    /// Makes a set of nodes. With kSetAllClasses pClass is ignored and pszEnumerator is an
    /// instance ID that selects one node; an ID that names no node fails with 0xE000020B.
    /// Without it a null pClass fails with 87. Success sets the last error to 0 (or keeps 1300).
    /// @return a set for DestroySet, or InvalidHandle()
    virtual HANDLE GetClassDevs(const GUID* pClass, const WCHAR* pszEnumerator, DWORD dwFlags) = 0;

    /// Reads element dwIndex; past the end fails with 259. @return true on success
    virtual bool EnumDeviceInfo(HANDLE hSet, DWORD dwIndex, DEVINFO_DATA* pDev) = 0;

    /// Reads interface dwMember of class *pClass of one element; none fails with 259.
    /// @return true on success
    virtual bool EnumDeviceInterfaces(HANDLE hSet, const DEVINFO_DATA* pDev, const GUID* pClass,
                                      DWORD dwMember, DEVINTERFACE_DATA* pInterface) = 0;

    /// Reads an interface's path. Too small a buffer (also null with 0) fails with 122 and
    /// reports the needed bytes; pDetail->cbSize other than 8 fails with 1784.
    /// @param cbDetail bytes of the whole buffer @param pcbNeeded may be null
    /// @return true on success
    virtual bool GetInterfaceDetail(HANDLE hSet, const DEVINTERFACE_DATA* pInterface,
                                    DEVINTERFACE_DETAIL* pDetail, DWORD cbDetail,
                                    DWORD* pcbNeeded) = 0;

    /// Reads a registry property of an element (texts UTF-16LE, zero-terminated).
    /// Too small a buffer fails with 122, a missing property with 13.
    /// @param pType, pcbNeeded may be null @return true on success
    virtual bool GetRegistryProperty(HANDLE hSet, const DEVINFO_DATA* pDev, DWORD dwProperty,
                                     DWORD* pType, BYTE* pBuffer, DWORD cbBuffer,
                                     DWORD* pcbNeeded) = 0;

    /// Releases a set. @return true on success
    virtual bool DestroySet(HANDLE hSet) = 0;

    /// Each of these returns a configuration-manager code, 0 = success.
    virtual DWORD GetParent(DWORD* pDevInst, DWORD devInst) = 0;
    virtual DWORD GetChild(DWORD* pDevInst, DWORD devInst) = 0;
    virtual DWORD GetSibling(DWORD* pDevInst, DWORD devInst) = 0;
    virtual DWORD GetNodeStatus(DWORD* pStatus, DWORD* pProblem, DWORD devInst) = 0;

    /// Reads a node's instance ID; cch counts characters with the terminator.
    virtual DWORD GetDeviceId(DWORD devInst, WCHAR* pBuffer, DWORD cch) = 0;

    /// Reads a node property. *pcb is in/out and counts bytes: a buffer that is too small stays
    /// unfilled and gives 0x1A with the needed size, an unreadable property leaves *pcb 0.
    virtual DWORD GetNodeProperty(DWORD devInst, const DEVPROP_KEY* pKey, DWORD* pType,
                                  BYTE* pBuffer, DWORD* pcb) = 0;
};
