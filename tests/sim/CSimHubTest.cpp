#include "SimHubFixture.h"

#include "wire/UsbDescriptors.h"

#include <cstring>

namespace
{

class HubIdentity : public SimHubTest
{
protected:
    Bytes Describe(USHORT value, USHORT length)
    {
        Bytes data(length, 0xCC);
        const auto res = Send(0x80, 0x06, value, 0, data.data(), length);
        data.resize(res.dwError == 0 ? res.cbDone : 0);
        return data;
    }
};

TEST_F(HubIdentity, DeviceDescriptorNamesTheHub)
{
    SimHubSettings settings;
    settings.usb.usVid = 0x5678;
    settings.usb.usPid = 0x4321;
    Build(settings);
    const Bytes data = Describe(0x0100, 18);
    ASSERT_EQ(data.size(), sizeof(USB_DEVICE_DESCRIPTOR));
    USB_DEVICE_DESCRIPTOR desc;
    std::memcpy(&desc, data.data(), sizeof(desc));
    EXPECT_EQ(desc.bLength, 18);
    EXPECT_EQ(desc.bDeviceClass, 9);
    EXPECT_EQ(desc.idVendor, 0x5678);
    EXPECT_EQ(desc.idProduct, 0x4321);
}

TEST_F(HubIdentity, StringAtIndex34SaysWhatWasSet)
{
    SimHubSettings settings;
    settings.identity = WTEXT("Vo\u00e9");
    Build(settings);
    EXPECT_EQ(Describe(0x0334, 255), (Bytes{8, 3, 'V', 0, 'o', 0, 0xE9, 0}));
}

TEST_F(HubIdentity, MissingStringIsStalledWithoutBlame)
{
    SimHubSettings settings;
    settings.identity.clear();
    Build(settings);
    EXPECT_TRUE(Describe(0x0334, 255).empty());
    EXPECT_EQ(Hub().Misuse().Count(), 0u);
}

TEST_F(HubIdentity, SleepingHubNeedsAFewDescriptorReads)
{
    Build();
    Hub().Suspend(2);
    Bytes data(18);
    EXPECT_EQ(Send(0x80, 6, 0x0100, 0, data.data(), 18).dwError, kErrNotReady);
    EXPECT_EQ(Send(0x80, 6, 0x0100, 0, data.data(), 18).dwError, kErrNotReady);
    EXPECT_EQ(Send(0x80, 6, 0x0100, 0, data.data(), 18).dwError, kErrNone);
}

using HubStatus = SimHubTest;

TEST_F(HubStatus, TellsRunningVersionAndCode)
{
    Build();
    const Bytes status = Status();
    ASSERT_EQ(status.size(), 20u);
    EXPECT_EQ(status[7] & 0x80, 0);
    EXPECT_EQ(status[10], 0x01);
    EXPECT_EQ(status[11], 0x10);
    EXPECT_EQ(status[13] & 0x02, 0x02);
    EXPECT_EQ(status[15] & 0x02, 0x02);
}

TEST_F(HubStatus, RomCodeReportsItsOwnVersion)
{
    SimHubSettings settings;
    settings.usRomVersion = 0x0007;
    settings.bDualBank = true;
    Build(settings);
    ToRom();
    const Bytes status = Status();
    EXPECT_EQ(status[7] & 0x80, 0x80);
    EXPECT_EQ(status[11], 0x07);
    EXPECT_EQ(status[13] & 0x02, 0);
    EXPECT_EQ(status[15] & 0x02, 0);
}

using HubReset = SimHubTest;

TEST_F(HubReset, LeavesTheBusAndComesBackInRom)
{
    Build();
    ASSERT_EQ(Out(REQ_FW_RESET, 0), 0u);
    EXPECT_TRUE(Hub().IsOnBus());
    m_clock.Advance(60'000);
    EXPECT_FALSE(Hub().IsOnBus());
    EXPECT_EQ(m_port.nLeft, 1);
    EXPECT_EQ(Enable(1), kErrDeviceGone);
    m_clock.Advance(1'500'000);
    EXPECT_EQ(m_port.nReturned, 1);
    EXPECT_FALSE(m_port.bNew);
    EXPECT_FALSE(Hub().RunsFlash());
}

TEST_F(HubReset, NextResetAloneMayDiffer)
{
    Build();
    Hub().SetNextReturn({10'000, 5'000'000, true, false});
    ASSERT_EQ(Out(REQ_FW_RESET, 0), 0u);
    m_clock.Advance(5'000'000);
    EXPECT_FALSE(Hub().IsOnBus());
    m_clock.Advance(100'000);
    EXPECT_TRUE(Hub().IsOnBus());
    EXPECT_TRUE(m_port.bNew);
    ToFlash();
    EXPECT_TRUE(Hub().IsOnBus());
    EXPECT_FALSE(m_port.bNew);
}

TEST_F(HubReset, HubToldNeverToReturnWaitsForPower)
{
    Build();
    Hub().SetNextReturn({10'000, 10'000, false, true});
    ASSERT_EQ(Out(REQ_FW_RESET, 0), 0u);
    m_clock.Advance(60'000'000);
    EXPECT_FALSE(Hub().IsOnBus());
    Hub().PowerUp();
    EXPECT_TRUE(Hub().IsOnBus());
    EXPECT_TRUE(Hub().RunsFlash());
}

TEST_F(HubReset, PullingThePlugCancelsTheReturn)
{
    Build();
    ASSERT_EQ(Out(REQ_FW_RESET, 0), 0u);
    Hub().Unplug();
    m_clock.Advance(60'000'000);
    EXPECT_FALSE(Hub().IsOnBus());
    EXPECT_EQ(m_port.nLeft, 1);
}

TEST_F(HubReset, WithoutACompleteImageItStaysInRom)
{
    Build();
    Bytes broken = m_old;
    broken[0x1234] ^= 0x10;
    Hub().LoadImage(broken);
    EXPECT_FALSE(Hub().RunsFlash());
    ToFlash();
    EXPECT_FALSE(Hub().RunsFlash());
}

TEST_F(HubReset, ForeignImagesCountWhenOnlyBlanknessIsChecked)
{
    SimHubSettings settings;
    settings.eImageCheck = SimImageCheck::NotBlank;
    Build(settings);
    Bytes foreign(0x8000, 0x5A);
    foreign[0x7EF9] = 0x03;
    foreign[0x7EFA] = 0x04;
    Hub().LoadImage(foreign);
    EXPECT_TRUE(Hub().RunsFlash());
    EXPECT_EQ(Hub().Version(), 0x0304);
}

/// What a chip refuses, and what it says about it.
struct Abuse
{
    const char* pszCase;
    bool bRom;
    USHORT usEnable;
    SETUP_PACKET setup;
    const char* pszReason;
};

class HubMisuse : public SimHubTest, public testing::WithParamInterface<Abuse>
{};

TEST_P(HubMisuse, IsStalledAndCounted)
{
    Build();
    if (GetParam().bRom)
        ToRom();
    ASSERT_EQ(Enable(GetParam().usEnable), 0u);
    const CSimHubBanks::Kept before = Hub().Keep();
    Bytes data(0xFFFF, 0xFF);
    EXPECT_EQ(Hub().Control(GetParam().setup, data.data(), kTimeoutMs).dwError, kErrGenFailure);
    ASSERT_EQ(Hub().Misuse().Count(), 1u);
    EXPECT_EQ(Hub().Misuse().Reasons()[0].find(GetParam().pszReason), 0u) << Hub().Misuse().Text();
    EXPECT_EQ(Hub().Keep().flash, before.flash);
}

const Abuse kAbuses[] = {
    {"UnknownRequest", false, 0, {0x40, 0x77, 0, 0, 0}, "unknown request: request 0x40/0x77"},
    {"WrongDirection", false, 0, {0xC0, 0xC8, 0, 0, 4}, "unknown request: request 0xC0/0xC8"},
    {"EnableWithoutKey", false, 0, {0x40, 0x02, 3, 0, 0}, "enable without its key"},
    {"UnknownEnable", false, 0, {0x40, 0x02, 9, 0x0A7C, 0}, "unknown enable"},
    {"WriteLocked", true, 0, {0x40, 0xC8, 0, 0, 4}, "flash write without enable 3"},
    {"WriteAtEraseEnable", true, 1, {0x40, 0xC8, 0, 0, 4}, "flash write without enable 3"},
    {"WriteRunningCode", false, 3, {0x40, 0xC8, 0, 0, 4}, "flash write where code runs"},
    {"WriteSetsBits", true, 3, {0x40, 0xC8, 0, 0, 4}, "flash write would set bits"},
    {"WriteOutside", true, 3, {0x40, 0xC8, 0xFFFF, 3, 2}, "flash write outside"},
    {"WriteTooLong", true, 3, {0x40, 0xC8, 0, 0, 4097}, "flash request too long"},
    {"ReadTooLong", false, 0, {0xC0, 0xD8, 0, 0, 4097}, "flash request too long"},
    {"WriteOfNothing", true, 3, {0x40, 0xC8, 0, 0, 0}, "wrong data stage"},
    {"EraseLocked", true, 0, {0x40, 0xE8, 0, 0, 0}, "erase without enable 1"},
    {"EraseAtWriteEnable", true, 3, {0x40, 0xE8, 0, 0, 0}, "erase without enable 1"},
    {"EraseUnprepared", true, 1, {0x40, 0xE8, 0, 0, 0}, "erase not prepared: register 0xD820"},
    {"EraseElsewhere", true, 1, {0x40, 0xE8, 0x1000, 0, 0}, "erase elsewhere"},
    {"MemoryLocked", false, 0, {0x40, 0x0E, 0, 0xD820, 1}, "memory write without enable"},
    {"ValidationInRom", true, 0, {0x40, 0xD9, 1, 0, 0}, "no code here that validates"},
    {"UnknownReset", false, 0, {0x40, 0xE9, 0x0100, 0, 0}, "unknown reset"},
    {"I2cUnconfigured", false, 0, {0xC0, 0xD6, 0, 0, 4}, "I2C read before"},
    {"I2cConfigBits", false, 0, {0x40, 0xF6, 0x1234, 0x0080, 0}, "I2C configuration without"},
    {"BlockOutOfFrame", false, 0, {0x40, 0xDC, 0x0166, 0, 5}, "block write out of frame"},
};

INSTANTIATE_TEST_SUITE_P(Hub, HubMisuse, testing::ValuesIn(kAbuses),
                         [](const auto& abuse) { return std::string(abuse.param.pszCase); });

class HubI2c : public SimHubTest
{
protected:
    struct Target : ISimI2cTarget
    {
        SimI2cResult Write(BYTE cmd, USHORT offset, const BYTE* p, BYTE cb) override
        {
            log = {cmd, static_cast<BYTE>(offset & 0xFF), static_cast<BYTE>(offset >> 8), cb};
            log.insert(log.end(), p, p + cb);
            return answer;
        }
        SimI2cResult Read(BYTE cmd, USHORT offset, BYTE* p, BYTE cb) override
        {
            std::fill_n(p, cb, static_cast<BYTE>(cmd + offset));
            return answer;
        }
        Bytes log;
        SimI2cResult answer;
    };
    DWORD Block(Bytes data) { return Out(REQ_BLOCK_OUT, 0x1366, 0, std::move(data)); }

    Target m_target;
};

TEST_F(HubI2c, BlockWritesReachTheAddressedTarget)
{
    Build();
    Hub().AttachI2cTarget(0x66, &m_target);
    EXPECT_EQ(Block({0x34, 0x12, 2, 0xAA, 0xBB}), 0u);
    EXPECT_EQ(m_target.log, (Bytes{0x13, 0x34, 0x12, 2, 0xAA, 0xBB}));
    EXPECT_EQ(In(REQ_BLOCK_IN, 0x2466, 0x0003, 4), Bytes(4, 0x27));
    EXPECT_TRUE(In(REQ_BLOCK_IN, 0x2468, 0x0003, 4).empty());
    EXPECT_EQ(Hub().Misuse().Count(), 0u);
}

TEST_F(HubI2c, TargetsRefuseStretchOrHoldTheBus)
{
    Build();
    Hub().AttachI2cTarget(0x66, &m_target);
    m_target.answer = {SimI2cAnswer::Nak, 0};
    EXPECT_EQ(Block({0, 0, 0}), kErrGenFailure);

    m_target.answer = {SimI2cAnswer::Ack, 3'000'000};
    auto usBefore = m_clock.Now();
    EXPECT_EQ(Block({0, 0, 0}), 0u);
    EXPECT_GE(m_clock.Now() - usBefore, 3'000'000u);

    m_target.answer = {SimI2cAnswer::Stuck, 0};
    usBefore = m_clock.Now();
    EXPECT_EQ(Block({0, 0, 0}), kErrSemTimeout);
    EXPECT_GE(m_clock.Now() - usBefore, 5'000'000u);
    m_target.answer = {};
    EXPECT_EQ(Block({0, 0, 0}), kErrSemTimeout);
    Hub().PowerUp();
    EXPECT_EQ(Block({0, 0, 0}), 0u);
}

TEST_F(HubI2c, MemoryIsReachedAfterConfiguration)
{
    Build();
    Hub().AttachI2cMemory(std::make_shared<CSimI2cMemory>(0x20000));
    ASSERT_EQ(Out(REQ_I2C_CONFIG, 0x1122, 0x80B3), 0u);
    EXPECT_EQ(Out(REQ_I2C_WRITE, 0x0010, 0x0001, {1, 2, 3}), 0u);
    EXPECT_EQ(In(REQ_I2C_READ, 0x0011, 0x0001, 2), (Bytes{2, 3}));
    EXPECT_TRUE(In(REQ_I2C_READ, 0xFFFF, 0x0001, 2).empty());
    EXPECT_EQ(Hub().I2cConfig(), (std::pair<USHORT, USHORT>{0x1122, 0x80B3}));
}

TEST_F(HubI2c, DownloadSlaveAddressesAreKeptApart)
{
    Build();
    EXPECT_EQ(Out(REQ_SET_DL_SLAVE, 0x6601), 0u);
    EXPECT_EQ(Out(REQ_SET_DL_SLAVE_SUB, 0x6802), 0u);
    EXPECT_EQ(Hub().DownloadSlave(), 0x6601);
    EXPECT_EQ(Hub().DownloadSlaveSub(), 0x6802);
}

} // namespace
