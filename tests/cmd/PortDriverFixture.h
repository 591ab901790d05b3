#pragma once

#include <gmock/gmock.h>

#include "cmd/CRequestCMDTestAccess.h"
#include "sim/machine/CSimMachine.h"
#include "support/CMessageLog.h"

/// A computer on which the port driver was never started.
class PortDriverTest : public testing::Test
{
protected:
    PortDriverTest() { SetCurrentPlatform(&m_machine); }
    ~PortDriverTest() override
    {
        CRequestCMDTestAccess::Reset();
        SetCurrentPlatform(nullptr);
    }

    int Start() { return m_cmd.XH_InitVoPortDriver(1, 2, 3); }

    CSimMachine m_machine;
    CRequestCMD& m_cmd = *CRequestCMD::GetRequestObj();
    CMessageLog m_log;
};
