#include "platform/linux/CLinuxDeviceFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/capability.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "cmd/CRequestCMDTestAccess.h"
#include "platform/ErrorCodes.h"
#include "platform/linux/CDescriptor.h"
#include "platform/linux/CLinuxPlatform.h"
#include "platform/linux/LinuxError.h"
#include "transport/CPropertyEx.h"
#include "wire/DriverNames.h"

namespace fs = std::filesystem;

namespace
{
using Bytes = std::vector<BYTE>;

/// The library on a machine laid out in files: every byte of its ports, its memory and the
/// configuration of the PCI function 0:1f.3 tells its own address.
class LinuxDeviceFiles : public testing::Test
{
protected:
    LinuxDeviceFiles()
    {
        Fill("dev/port", 0x10000);
        Fill("dev/mem", 0x3000);
        Fill("sys/bus/pci/devices/0000:00:1f.3/config", 256);
        ::setenv("TMPDIR", m_root.c_str(), 1);
        SetCurrentPlatform(&m_platform);
    }
    ~LinuxDeviceFiles() override
    {
        CRequestCMDTestAccess::Reset();
        SetCurrentPlatform(nullptr);
        ::unsetenv("TMPDIR");
        fs::remove_all(m_root);
    }

    void Fill(const char* pszFile, unsigned cb)
    {
        Bytes bytes(cb);
        for (unsigned i = 0; i < cb; ++i)
            bytes[i] = static_cast<BYTE>(i);
        Write(pszFile, bytes);
    }
    void Write(const std::string& strFile, const Bytes& bytes)
    {
        fs::create_directories((m_root / strFile).parent_path());
        std::ofstream(m_root / strFile, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    int ByteAt(const char* pszFile, long lOffset)
    {
        std::ifstream file(m_root / pszFile, std::ios::binary);
        file.seekg(lOffset);
        return file.get();
    }
    HANDLE Open(const std::string& strPath)
    {
        return m_platform.DeviceFile().Open(WString(strPath.begin(), strPath.end()).c_str(),
                                            kGenericRead | kGenericWrite, kShareNone, kOpenExisting,
                                            0);
    }

    fs::path m_root = fs::path(testing::TempDir()) / "zelhub-device-files";
    std::string m_strDev = (m_root / "dev").string();
    CLinuxPlatform m_platform{{(m_root / "sys").string(), m_strDev}};
    CRequestCMD& m_cmd = *CRequestCMD::GetRequestObj();
    CPropertyEx m_transport;
};

TEST_F(LinuxDeviceFiles, PortDriverLoadsWithoutADriverAndReachesPortsAndMemory)
{
    ASSERT_EQ(m_cmd.XH_InitVoPortDriver(0, 0, 0), 1);
    EXPECT_EQ(m_cmd.VoReadByte32(0xEF12), 0x12);
    EXPECT_EQ(m_cmd.VoReadByte64(0xEF13), 0x13);
    EXPECT_EQ(m_cmd.VoReadDword32(0xEF20), 0x23222120u);
    m_cmd.VoWriteByte32(0x80, 0xAA);
    m_cmd.VoWriteDword64(0x84, 0x04030201);
    EXPECT_EQ(ByteAt("dev/port", 0x80), 0xAA);
    EXPECT_EQ(ByteAt("dev/port", 0x81), 0x81);
    EXPECT_EQ(ByteAt("dev/port", 0x87), 4);
    EXPECT_EQ(m_cmd.VoReadByte32(0x10000), -1) << "there is no such port";

    CRequestCMDTestAccess::SetMapping(1);
    EXPECT_EQ(m_cmd.VoReadByte64(0x1234), 0x34);
    EXPECT_EQ(m_cmd.VoReadDword64(0x2040), 0x43424140u);
    EXPECT_EQ(m_cmd.VoReadDword64(0xFFE), 0x0100FFFEu);
    m_cmd.VoWriteDword64(0x1000, 0x08070605);
    EXPECT_EQ(ByteAt("dev/mem", 0x1003), 8);
    EXPECT_EQ(m_cmd.XH_UnInitVoPortDriver(), 1);
}

// Single bytes at 0xCF8 would mean nothing to a host bridge.
TEST_F(LinuxDeviceFiles, ConfigurationSpaceComesFromSysfs)
{
    ASSERT_EQ(m_cmd.XH_InitVoPortDriver(0, 0, 0), 1);
    m_cmd.VoWriteDword32(0xCF8, 0x8000FB40);
    EXPECT_EQ(m_cmd.VoReadDword32(0xCFC), 0x43424140u);
    m_cmd.VoWriteDword32(0xCFC, 9);
    EXPECT_EQ(ByteAt("sys/bus/pci/devices/0000:00:1f.3/config", 0x40), 9);
    EXPECT_EQ(ByteAt("dev/port", 0xCFC), 0xFC) << "the port itself is left alone";
    m_cmd.VoWriteDword32(0xCF8, 0x80002040); // nobody sits at 0:04.0
    EXPECT_EQ(m_cmd.VoReadDword32(0xCFC), 0xFFFFFFFFu);
    EXPECT_EQ(m_cmd.XH_UnInitVoPortDriver(), 1);
}

TEST_F(LinuxDeviceFiles, ProxyChannelReachesPortsAndMemory)
{
    ASSERT_NE(m_transport.InitProxyDriver(), 0);
    BYTE byValue = 0;
    EXPECT_EQ(m_transport.KyHub_WritePortUCHAR(0x66, 0xBA), 0u);
    EXPECT_EQ(m_transport.KyHub_ReadPortUCHAR(0x66, &byValue), 0u);
    EXPECT_EQ(byValue, 0xBA);
    Bytes data = {1, 2, 3, 4};
    EXPECT_EQ(m_transport.KyHub_WriteMemoryUCHAR(0xFFE, data.data(), 4), 0u);
    data.resize(6);
    EXPECT_EQ(m_transport.KyHub_ReadMemoryUCHAR(0xFFD, data.data(), 6), 0u);
    EXPECT_EQ(data, Bytes({0xFD, 1, 2, 3, 4, 0x02}));
    EXPECT_EQ(m_transport.KyHub_WritePortUCHAR(0x10000, 1), kErrInvalidParameter);
    m_transport.XH_UnInitProxyDriver();
}

/// As somebody who may not open what is closed to all: root would open it anyway.
class CUnprivileged
{
public:
    CUnprivileged()
    {
        ::syscall(SYS_capget, &m_header, m_all);
        __user_cap_data_struct none[2] = {m_all[0], m_all[1]};
        none[0].effective = none[1].effective = 0;
        ::syscall(SYS_capset, &m_header, none);
    }
    CUnprivileged(const CUnprivileged&) = delete;
    CUnprivileged& operator=(const CUnprivileged&) = delete;
    ~CUnprivileged() { ::syscall(SYS_capset, &m_header, m_all); }

private:
    __user_cap_header_struct m_header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct m_all[2] = {};
};

TEST_F(LinuxDeviceFiles, WhatCannotBeOpenedSaysWhy)
{
    ASSERT_NE(m_transport.InitProxyDriver(), 0);
    for (const char* pszFile : {"dev/port", "dev/bus/usb/001/002", "dev/hidraw0"}) {
        Write(pszFile, {});
        fs::permissions(m_root / pszFile, fs::perms::none);
    }
    fs::remove(m_root / "dev/mem");
    // A terminal that somebody has for himself is busy; behind a socket's name is no device (any
    // more).
    const CDescriptor terminal(::posix_openpt(O_RDWR | O_NOCTTY));
    ASSERT_EQ(::grantpt(terminal.Get()) | ::unlockpt(terminal.Get()), 0);
    const CDescriptor taken(::open(::ptsname(terminal.Get()), O_RDWR | O_NOCTTY));
    ASSERT_EQ(::ioctl(taken.Get(), TIOCEXCL), 0);
    fs::create_symlink(::ptsname(terminal.Get()), m_root / "dev/bus/usb/001/004");
    ASSERT_EQ(::mknod((m_root / "dev/bus/usb/001/005").c_str(), S_IFSOCK | 0600, 0), 0);
    const std::pair<std::string, DWORD> cases[] = {
        {"\\\\.\\voport", kErrAccessDenied},
        {m_strDev + "/bus/usb/001/002", kErrAccessDenied},
        {m_strDev + "/hidraw0", kErrAccessDenied},
        {m_strDev + "/bus/usb/001/003", kErrFileNotFound},
        {m_strDev + "/hidraw1", kErrFileNotFound},
        {m_strDev + "/bus/usb/001/004", kErrBusy},
        {m_strDev + "/bus/usb/001/005", kErrDeviceGone},
        {m_strDev + "/port", kErrFileNotFound}, // no device of ours
        {"\\\\.\\other", kErrFileNotFound},
        {"", kErrFileNotFound},
    };
    const CUnprivileged unprivileged;
    for (const auto& [strPath, dwError] : cases) {
        EXPECT_EQ(Open(strPath), InvalidHandle()) << strPath;
        EXPECT_EQ(ThreadLastError(), dwError) << strPath;
    }
    BYTE byValue = 0;
    EXPECT_EQ(m_transport.KyHub_ReadPortUCHAR(0x66, &byValue), kErrAccessDenied);
    EXPECT_EQ(m_transport.KyHub_ReadMemoryUCHAR(0, &byValue, 1), kErrFileNotFound);
    m_transport.XH_UnInitProxyDriver();
}

TEST_F(LinuxDeviceFiles, HidCapabilitiesComeFromTheReportDescriptor)
{
    const char* const pszReport = "sys/class/hidraw/hidraw0/device/report_descriptor";
    IHid& hid = m_platform.Hid();
    HANDLE hData = nullptr;
    HID_CAPS caps = {};
    Write("dev/hidraw0", {});
    const HANDLE hDevice = Open(m_strDev + "/hidraw0");
    const auto Refusal = [&](HANDLE h) {
        EXPECT_EQ(hid.GetPreparsedData(h, &hData), 0);
        return ThreadLastError();
    };
    EXPECT_EQ(Refusal(hDevice), kErrFileNotFound) << "gone from sysfs";
    EXPECT_EQ(Refusal(nullptr), kErrInvalidHandle);
    Write(pszReport, {0x06, 0x70});
    EXPECT_EQ(Refusal(hDevice), kErrInvalidData);

    // A keyboard's collection, then the vendor's.
    Write(pszReport,
          {0x05, 0x01, 0x09, 0x06, 0xA1, 0x01, 0x75, 0x08, 0x95, 0x08, 0x81, 0x02, 0xC0, 0x06,
           0x70, 0xFF, 0x09, 0x20, 0xA1, 0x01, 0x95, 0x20, 0x09, 0x01, 0x81, 0x02, 0xC0});
    ASSERT_EQ(hid.GetPreparsedData(hDevice, &hData), 1);
    EXPECT_EQ(hid.GetCaps(hData, &caps), kHidSuccess);
    EXPECT_EQ(caps.UsagePage, 0xFF70);
    EXPECT_EQ(caps.Usage, 0x0020);
    EXPECT_EQ(caps.InputReportByteLength, 33);
    EXPECT_EQ(hid.FreePreparsedData(hData), 1);
    EXPECT_EQ(hid.FreePreparsedData(hData), 0);
    EXPECT_NE(hid.GetCaps(hData, &caps), kHidSuccess);
    EXPECT_TRUE(m_platform.DeviceFile().Close(hDevice));
}
} // namespace
