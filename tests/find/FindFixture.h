#pragma once

#include <gmock/gmock.h>

#include "sim/machine/CSimMachine.h"
#include "support/CMessageLog.h"

/// A computer with a host controller, its root hub and whatever a test adds. At its end nothing
/// may be open but what a test leaves on purpose.
class FindTest : public testing::Test
{
protected:
    FindTest() { SetCurrentPlatform(&m_machine); }
    ~FindTest() override { SetCurrentPlatform(nullptr); }

    void TearDown() override
    {
        EXPECT_EQ(m_machine.Handles().Describe(), "");
        EXPECT_THAT(m_machine.Handles().Misuses(), testing::IsEmpty());
    }

    CSimNode& Hub(unsigned nPort, DWORD devInst) { return HubBelow(Root(), nPort, devInst); }

    CSimNode& HubBelow(CSimNode& parent, unsigned nPort, DWORD devInst)
    {
        HubNodeOptions options;
        options.devInst = devInst;
        return m_machine.Tree().AddHub(parent, nPort, options);
    }

    CSimNode& Root() { return m_machine.RootHub(); }

    CSimMachine m_machine;
};
