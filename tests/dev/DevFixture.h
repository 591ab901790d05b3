#pragma once

#include "cmd/CRequestCMD.h"
#include "dev/Fakes.h"
#include "sim/CSimMachine.h"

#include <gmock/gmock.h>

/// A process whose command object speaks to a fake transport.
class DevFixture : public testing::Test
{
protected:
    DevFixture()
    {
        SetCurrentPlatform(&m_machine);
        CRequestCMD::GetRequestObj()->XH_InitProxyDriver(&m_transport);
    }

    ~DevFixture() override
    {
        CRequestCMD::GetRequestObj()->XH_UnInitProxyDriver();
        SetCurrentPlatform(nullptr);
    }

    /// Forgets what was sent and said so far.
    void Anew()
    {
        m_transport.m_requests.clear();
        m_reports.m_lines.clear();
    }

    CSimMachine m_machine;
    CFakeTransport m_transport;
    CReports m_reports;
};
