#pragma once

#include "sim/machine/CSimEvents.h"
#include "sim/models/CSimClock.h"

#include <string>
#include <vector>

class CSimDeviceTree;

/// One request that reached the companion service.
struct SimCompanionRequest
{
    bool bTurnOn;
    std::vector<WString> ids;
};

/// The companion service: owns the pipe and the event, switches power saving for processes that
/// may not do it themselves. Not installed at first (neither pipe nor event exists).
class CSimCompanion
{
public:
    CSimCompanion(CSimClock& clock, CSimEvents& events, CSimDeviceTree& tree);

    void Install(); ///< pipe and event are there from now on
    void Remove();

    void SetPipePresent(bool bPresent) { m_bPipe = bPresent; }
    void SetPipeBusy(bool bBusy) { m_bBusy = bBusy; } ///< waits end with 121, opens with 231
    void SetSignals(bool bSignals) { m_bSignals = bSignals; }   ///< false: never completes
    void SetDelay(CSimClock::Micros delay) { m_delay = delay; } ///< from request to signal

    bool PipePresent() const { return m_bPipe; }
    bool PipeBusy() const { return m_bBusy; }

    /// The requests that were understood.
    const std::vector<SimCompanionRequest>& Requests() const { return m_requests; }

    /// Requests that were not exactly right, in words; they are not signalled.
    const std::vector<std::string>& Rejections() const { return m_rejections; }

    /// For the pipe service: one written message.
    void Receive(const BYTE* pData, size_t cb);

    /// Understands a message. @return null, or what is wrong with it
    static const char* Decode(const BYTE* pData, size_t cb, SimCompanionRequest* pRequest);

private:
    void Complete(const SimCompanionRequest& request);

    CSimClock& m_clock;
    CSimEvents& m_events;
    CSimDeviceTree& m_tree;
    bool m_bPipe = false;
    bool m_bBusy = false;
    bool m_bSignals = true;
    CSimClock::Micros m_delay = 5000;
    std::vector<SimCompanionRequest> m_requests;
    std::vector<std::string> m_rejections;
};
