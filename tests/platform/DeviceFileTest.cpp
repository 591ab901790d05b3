#include "PlatformContract.h"

#include "platform/IDeviceFile.h"

namespace
{
using DeviceFileContract = PlatformContract;

TEST_P(DeviceFileContract, RefusesWhatIsNotThereOrNotOpen)
{
    IDeviceFile& files = m_pPlatform->DeviceFile();
    SetLastError(0);
    EXPECT_EQ(files.Open(WTEXT("\\\\.\\ZelhubNobody"), kGenericRead | kGenericWrite, kShareNone,
                         kOpenExisting, 0),
              InvalidHandle());
    EXPECT_EQ(LastError(), kErrFileNotFound);
    BYTE bytes[16] = {};
    DWORD cbDone = 0;
    SetLastError(0);
    EXPECT_FALSE(files.Control(StrangeHandle(), 0x222000, bytes, 16, bytes, 16, &cbDone));
    EXPECT_EQ(LastError(), kErrInvalidHandle);
    SetLastError(0);
    EXPECT_FALSE(files.Close(StrangeHandle()));
    EXPECT_EQ(LastError(), kErrInvalidHandle);
}

INSTANTIATE_TEST_SUITE_P(Platforms, DeviceFileContract, testing::ValuesIn(kPlatforms),
                         PlatformName);
} // namespace
