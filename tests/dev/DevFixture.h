#pragma once

#include "dev/Fakes.h"
#include "sim/CSimMachine.h"
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
