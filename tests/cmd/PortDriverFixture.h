#pragma once

#include <gmock/gmock.h>

#include "cmd/CRequestCMDTestAccess.h"
#include "sim/CSimMachine.h"
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

    /// The last lines of the log, as many as the matcher wants.
    std::vector<std::string> LastLines(size_t n) const
    {
        const auto& vLines = m_log.Lines();
        return {vLines.end() - static_cast<std::ptrdiff_t>(std::min(n, vLines.size())),
                vLines.end()};
    }

    CSimMachine m_machine;
    CRequestCMD& m_cmd = *CRequestCMD::GetRequestObj();
    CMessageLog m_log;
};
