#pragma once

#include "dev/CHubDev.h"
#include "find/CHubFind.h"
#include "sim/machine/CSimMachine.h"
#include "sim/models/CSimHub.h"
#include "transport/CPropertyEx.h"

#include <vector>

/// A simulated computer with one of the maker's hubs on it, and the library started on it: the
/// transport is bound, a hub device is attached to a finder. One at a time.
class CBenchMachine
{
public:
    /// @param cbImage  bytes of the image that the hub runs
    explicit CBenchMachine(DWORD cbImage);
    CBenchMachine(const CBenchMachine&) = delete;
    CBenchMachine& operator=(const CBenchMachine&) = delete;
    ~CBenchMachine();

    CSimMachine& Machine() { return m_machine; }
    CSimHub& Hub() { return m_hub; }
    CSimNode& Node() { return m_node; }
    CHubDev& Device() { return m_device; }
    CHubFind& Finder() { return m_finder; }

    /// The hub, as it is when nobody has touched it yet.
    static SimHubSettings Settings(DWORD cbImage);
    static std::vector<BYTE> Image(DWORD cbImage, USHORT wVersion);

private:
    CSimMachine m_machine;
    CSimHub m_hub;
    CSimNode& m_node;
    CPropertyEx m_transport;
    CHubDev m_device;
    CHubFind m_finder;
};
