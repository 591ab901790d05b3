#pragma once

#include "msg/ERRORLEVEL.h"
#include "platform/IDeviceTree.h"

/// Reads a node's instance ID, at most 199 characters. @return empty when it is unreadable
WString ReadInstanceId(DWORD devInst);

/// Asks for the device set of exactly one node with all its interfaces. An unreadable instance
/// ID makes the request fail with 0xE000020B.
/// @return a set for DestroySet, or InvalidHandle() with the last error set
HANDLE RequestSetOfNode(DWORD devInst);

/// Fetches an interface's path. @param cbNeeded bytes that the sizing call reported
/// @return false, with the last error set and *pPath untouched, after a failure
bool FetchInterfacePath(HANDLE hSet, const DEVINTERFACE_DATA& data, DWORD cbNeeded, WString* pPath);

/// How one kind of interface is opened, and what is said about it.
struct INTERFACE_OPEN
{
    const char* pszFunction;
    ERRORLEVEL eFail;
    ERRORLEVEL eDetail;
    DWORD dwShare;
    DWORD dwAttributes;
    const char* pszNotFound;
    const char* pszEnumError;
    const char* pszNewBuffer;
    const char* pszSizeError;
    const char* pszDetailError;
    const char* pszOpenError;
};

/// Opens the first interface of class *pGuid of a node, for reading and writing.
/// @param phInterface receives a handle that the caller closes; untouched after a failure and
///                    also, with result 0, where the node has no element
/// @return status: 0, or the failing call's code; 87 for a null phInterface
DWORD OpenNodeInterface(const INTERFACE_OPEN& how, DWORD devInst, const GUID* pGuid,
                        HANDLE* phInterface);
