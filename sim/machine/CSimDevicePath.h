#pragma once

#include "sim/machine/CSimHandles.h"
#include "sim/machine/CSimNode.h"
#include "sim/machine/CSimPolls.h"
#include "wire/SetupPacket.h"

#include <map>

/// The way from an opened interface path to the device: dead from the moment that the device
/// leaves the bus, also when it returns. Lives no longer than the tree.
class CSimDevicePath : public ISimUsbDevice
{
public:
    CSimDevicePath(CSimNode& node, CSimPolls& polls, CSimClock& clock);

    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs) override;

    CSimNode& Node() { return m_node; }

private:
    CSimNode& m_node;
    CSimPolls& m_polls;
    CSimClock& m_clock;
    unsigned m_nGeneration;
};

/// An overlapped transfer that was started and not fetched.
struct SimPendingTransfer
{
    SETUP_PACKET setup;
    BYTE* pBuffer;
    bool bLate; ///< a wait for it has already timed out
};

/// A device file: an opened interface path.
class CSimDeviceFileObject : public CSimHandleObject
{
public:
    CSimDeviceFileObject(std::shared_ptr<CSimDevicePath> pGiven, DWORD dwOpenFlags)
        : pPath(std::move(pGiven)), dwFlags(dwOpenFlags)
    {}

    std::shared_ptr<CSimDevicePath> pPath;
    DWORD dwFlags;
    std::map<const void*, SimPendingTransfer> transfers; ///< by the caller's record
};
