#include "sim/machine/CSimDevicePath.h"

namespace
{
constexpr CSimClock::Micros kRefusalTime = 10;
}

CSimDevicePath::CSimDevicePath(CSimNode& node, CSimPolls& polls, CSimClock& clock)
    : m_node(node), m_polls(polls), m_clock(clock), m_nGeneration(node.Generation())
{}

SimTransferResult CSimDevicePath::Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs)
{
    m_polls.Progress();
    DWORD dwError = m_node.TransferError(m_nGeneration);
    if (dwError == kErrNone && m_node.Device() == nullptr)
        dwError = kErrGenFailure;
    if (dwError == kErrNone)
        return m_node.Device()->Control(setup, pData, dwTimeoutMs);
    m_clock.Advance(kRefusalTime);
    return {dwError, 0, 0};
}
