#pragma once

#include "sim/models/CSimHub.h"
#include "wire/HubRequests.h"

#include <gtest/gtest.h>

#include <initializer_list>

/// A hub on a desk, driven with bare requests.
class SimHubTest : public testing::Test
{
protected:
    using Bytes = std::vector<BYTE>;

    struct Port : ISimPort
    {
        void DeviceLeft() override { ++nLeft; }
        void DeviceReturned(bool bNewInstance) override
        {
            ++nReturned;
            bNew = bNewInstance;
        }
        int nLeft = 0;
        int nReturned = 0;
        bool bNew = false;
    };

    static constexpr DWORD kTimeoutMs = 5000;

    /// A hub with the old image in bank 0, running it.
    void Build(const SimHubSettings& settings = {})
    {
        m_pHub = std::make_unique<CSimHub>(m_clock, settings);
        m_pHub->AddPort(&m_port);
        m_pHub->LoadImage(m_old);
    }

    CSimHub& Hub() { return *m_pHub; }

    SimTransferResult Send(BYTE type, BYTE req, USHORT value, USHORT index, BYTE* p, DWORD cb,
                           DWORD dwTimeoutMs = kTimeoutMs)
    {
        const SETUP_PACKET setup = {type, req, value, index, static_cast<USHORT>(cb)};
        return Hub().Control(setup, p, dwTimeoutMs);
    }
    DWORD Out(BYTE req, USHORT value, USHORT index = 0, Bytes data = {})
    {
        return Send(0x40, req, value, index, data.data(), static_cast<DWORD>(data.size())).dwError;
    }
    Bytes In(BYTE req, USHORT value, USHORT index, DWORD cb)
    {
        Bytes data(cb, 0xCC);
        const SimTransferResult res = Send(0xC0, req, value, index, data.data(), cb);
        data.resize(res.dwError == 0 ? res.cbDone : 0);
        return data;
    }

    DWORD Enable(USHORT value) { return Out(REQ_VDCMD_ENABLE, value, VDCMD_ENABLE_KEY); }
    Bytes Status() { return In(REQ_STATUS, 0, 0, HUB_STATUS_LENGTH); }
    DWORD Write(DWORD addr, const Bytes& data)
    {
        return Out(REQ_WRITE_FLASH, static_cast<USHORT>(addr), static_cast<USHORT>(addr >> 16),
                   data);
    }
    Bytes Read(DWORD addr, DWORD cb)
    {
        return In(REQ_READ_FLASH, static_cast<USHORT>(addr), static_cast<USHORT>(addr >> 16), cb);
    }
    DWORD WriteImage(const Bytes& image)
    {
        for (DWORD at = 0; at < image.size(); at += 4096) {
            const DWORD cb = std::min<DWORD>(4096, static_cast<DWORD>(image.size()) - at);
            const DWORD dwError = Write(at, {image.begin() + at, image.begin() + at + cb});
            if (dwError != 0)
                return dwError;
        }
        return 0;
    }
    void PrepareErase()
    {
        EXPECT_EQ(Enable(1), 0u);
        EXPECT_EQ(Out(REQ_WRITE_MEM, 0, 0xD820, {1}), 0u);
        EXPECT_EQ(Out(REQ_WRITE_MEM, 0, 0xD825, {0, 1, 0, 0}), 0u);
        EXPECT_EQ(Out(REQ_WRITE_MEM, 0, 0xD900, {0}), 0u);
        const Bytes lock = In(REQ_READ_MEM, 0, 0xD800, 1);
        ASSERT_EQ(lock.size(), 1u);
        EXPECT_EQ(Out(REQ_WRITE_MEM, 0, 0xD800, {static_cast<BYTE>(lock[0] | 1)}), 0u);
        m_clock.Advance(20'000);
    }
    DWORD Erase() { return Out(REQ_ERASE_FLASH, 0); }
    void ToRom()
    {
        EXPECT_EQ(Out(REQ_FW_RESET, 0), 0u);
        m_clock.Advance(2'000'000);
    }
    void ToFlash()
    {
        EXPECT_EQ(Out(REQ_RESET_CODE, 0x0101), 0u);
        m_clock.Advance(2'000'000);
    }

    const Bytes m_old = CSimImage(0x10000).Version(0x0110).Seed(1).Build();
    const Bytes m_new = CSimImage(0x12345).Version(0x0220).Seed(2).Build();
    CSimClock m_clock;
    Port m_port;
    std::unique_ptr<CSimHub> m_pHub;
};
