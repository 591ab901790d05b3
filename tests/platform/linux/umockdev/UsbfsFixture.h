#pragma once

#include <gtest/gtest.h>

#include "CMockUsbNode.h"
#include "platform/ErrorCodes.h"
#include "platform/linux/CLinuxDeviceFile.h"
#include "platform/linux/CLinuxWinUsb.h"
#include "platform/linux/LinuxError.h"
#include "wire/DriverNames.h"
#include "wire/HubRequests.h"
#include "wire/ProxyIoctl.h"
#include "wire/Urb.h"

/// The Linux device files over one scripted USB device.
class UsbfsFixture : public testing::Test
{
protected:
    HANDLE OpenNode(DWORD dwFlags = 0)
    {
        const std::string strPath = m_node.Path();
        return m_files.Open(WString(strPath.begin(), strPath.end()).c_str(),
                            kGenericRead | kGenericWrite, kShareNone, kOpenExisting, dwFlags);
    }
    HANDLE OpenDriver()
    {
        return m_files.Open(ZELUPX_DEVICE_PATH, kGenericRead | kGenericWrite, kShareNone,
                            kOpenExisting, kFlagOverlapped);
    }

    MOCK_ANSWER m_answer; ///< to every request
    CMockUsbNode m_node{[this](const MOCK_REQUEST&) { return m_answer; }};
    CLinuxHandles m_handles;
    CLinuxDeviceFile m_files{m_handles};
};
