#pragma once

#include "dev/Fakes.h"
#include "sim/machine/CSimMachine.h"
#include "support/CBoundRequestObj.h"

#include <gmock/gmock.h>

/// A process whose command object speaks to a fake transport.
class DevFixture : public testing::Test
{
protected:
    DevFixture() { SetCurrentPlatform(&m_machine); }
    ~DevFixture() override { SetCurrentPlatform(nullptr); }

    /// Forgets what was sent and said so far.
    void Anew()
    {
        m_transport.m_requests.clear();
        m_reports.Clear();
    }

    CSimMachine m_machine;
    CScriptedTransport m_transport;
    CBoundRequestObj m_bound{m_transport};
    CReports m_reports;
};

/// The same with a device.
template<typename Device>
class FixtureOf : public DevFixture
{
protected:
    CState* Enter(DEVSTATE eState)
    {
        m_dev.SetDevState(m_dev.GetCertainDevState(eState));
        return m_dev.GetDevState();
    }
    bool IsIn(DEVSTATE eState) { return m_dev.GetDevState() == m_dev.GetCertainDevState(eState); }
    const Requests& Sent() const { return m_transport.m_requests; }

    Device m_dev;
};
