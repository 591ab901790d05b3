#include "platform/linux/CLinuxDeviceFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/fsuid.h>
#include <unistd.h>

#include "cmd/CRequestCMD.h"
#include "platform/ErrorCodes.h"
#include "platform/linux/CLinuxHid.h"
#include "platform/linux/CLinuxPlatform.h"
#include "platform/linux/LinuxError.h"
#include "wire/DriverNames.h"
#include "wire/PortIo.h"
#include "wire/ProxyIoctl.h"

namespace fs = std::filesystem;

namespace
{
using Bytes = std::vector<BYTE>;

/// A machine laid out in files: every byte of its ports, its memory and the configuration of
/// the PCI function 0:1f.3 tells its own address.
class LinuxDeviceFiles : public testing::Test
{
protected:
    void SetUp() override
    {
        Fill("dev/port", 0x10000);
        Fill("dev/mem", 0x3000);
        Fill("sys/bus/pci/devices/0000:00:1f.3/config", 256);
    }
    void TearDown() override { fs::remove_all(m_root); }

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
    BYTE ByteAt(const char* pszFile, long lOffset)
    {
        std::ifstream file(m_root / pszFile, std::ios::binary);
        file.seekg(lOffset);
        return static_cast<BYTE>(file.get());
    }

    HANDLE Open(const WString& strPath)
    {
        return m_files.Open(strPath.c_str(), kGenericRead | kGenericWrite, kShareNone,
                            kOpenExisting, 0);
    }
    HANDLE OpenBelow(const std::string& strName)
    {
        const std::string strPath = (m_root / strName).string();
        return Open(WString(strPath.begin(), strPath.end()));
    }
    DWORD Ask(HANDLE h, DWORD dwCode, const Bytes& in, Bytes* pOut)
    {
        DWORD cbDone = 0;
        const bool bDone = m_files.Control(h, dwCode, in.data(), static_cast<DWORD>(in.size()),
                                           pOut->data(), static_cast<DWORD>(pOut->size()), &cbDone);
        EXPECT_EQ(cbDone, bDone ? pOut->size() : 0);
        return bDone ? kErrNone : ThreadLastError();
    }

    fs::path m_root = fs::path(testing::TempDir()) / "zelhub-device-files";
    LINUX_ROOTS m_roots = {(m_root / "sys").string(), (m_root / "dev").string()};
    CLinuxHandles m_handles;
    CLinuxDeviceFile m_files{m_handles, m_roots};
    CLinuxHid m_hid{m_handles};
};

/// Little-endian, of a width.
Bytes Number(ULONGLONG value, unsigned cb)
{
    Bytes bytes(cb);
    std::memcpy(bytes.data(), &value, std::min<std::size_t>(cb, sizeof value));
    return bytes;
}

Bytes Join(Bytes first, const Bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

struct PortIoCase
{
    const char* pszCase;
    DWORD dwCode;
    Bytes in;
    Bytes expected; ///< what a read gives; of the right length for a refusal
    DWORD dwError;
};

TEST_F(LinuxDeviceFiles, PortDriverReadsInEitherLayout)
{
    const PortIoCase cases[] = {
        {"byte", IOCTL_VOPORT_READ_BYTE, Number(0xEF12, 4), {0x12}, 0},
        {"byte, 64", IOCTL_VOPORT_READ_BYTE, Number(0xEF13, 8), {0x13}, 0},
        {"dword", IOCTL_VOPORT_READ_DWORD, Number(0xEF20, 4), {0x20, 0x21, 0x22, 0x23}, 0},
        {"memory", IOCTL_VOPORT_READ_BYTE_MAPPED, Number(0x1234, 8), {0x34}, 0},
        {"word", IOCTL_VOPORT_READ_DWORD_MAPPED, Number(0x2040, 8), {0x40, 0x41, 0x42, 0x43}, 0},
        {"odd word", IOCTL_VOPORT_READ_DWORD_MAPPED, Number(0xFFE, 8), {0xFE, 0xFF, 0, 1}, 0},
        {"no port", IOCTL_VOPORT_READ_BYTE, Number(0x10000, 4), {0}, kErrInvalidParameter},
        {"half", IOCTL_VOPORT_READ_BYTE, Number(0x10, 3), {0}, kErrInvalidParameter},
        {"unknown", 0x9C726444, Number(0x10, 4), {0}, 1},
    };
    const HANDLE hPorts = Open(VOPORT_DEVICE_PATH);
    ASSERT_NE(hPorts, InvalidHandle());
    for (const PortIoCase& one : cases) {
        SCOPED_TRACE(one.pszCase);
        Bytes out(one.expected.size());
        EXPECT_EQ(Ask(hPorts, one.dwCode, one.in, &out), one.dwError);
        EXPECT_EQ(out, one.expected);
    }
    EXPECT_TRUE(m_files.Close(hPorts));
}

TEST_F(LinuxDeviceFiles, PortDriverWritesWhatItWasGiven)
{
    const HANDLE hPorts = Open(VOPORT_DEVICE_PATH);
    Bytes none;
    EXPECT_EQ(Ask(hPorts, IOCTL_VOPORT_WRITE_BYTE, Join(Number(0x80, 4), {0xAA}), &none), 0u);
    EXPECT_EQ(Ask(hPorts, IOCTL_VOPORT_WRITE_DWORD, Join(Number(0x84, 8), {1, 2, 3, 4}), &none),
              0u);
    EXPECT_EQ(
        Ask(hPorts, IOCTL_VOPORT_WRITE_DWORD_MAPPED, Join(Number(0x1000, 8), {5, 6, 7, 8}), &none),
        0u);
    EXPECT_EQ(ByteAt("dev/port", 0x80), 0xAA);
    EXPECT_EQ(ByteAt("dev/port", 0x81), 0x81);
    EXPECT_EQ(ByteAt("dev/port", 0x87), 4);
    EXPECT_EQ(ByteAt("dev/mem", 0x1003), 8);
}

// Single bytes at 0xCF8 would mean nothing to a host bridge.
TEST_F(LinuxDeviceFiles, ConfigurationSpaceComesFromSysfs)
{
    const HANDLE hPorts = Open(VOPORT_DEVICE_PATH);
    const auto Select = [&](DWORD dwAddress) {
        Bytes none;
        return Ask(hPorts, IOCTL_VOPORT_WRITE_DWORD, Join(Number(0xCF8, 4), Number(dwAddress, 4)),
                   &none);
    };
    Bytes word(4);
    EXPECT_EQ(Select(0x8000FB40), 0u);
    EXPECT_EQ(Ask(hPorts, IOCTL_VOPORT_READ_DWORD, Number(0xCFC, 4), &word), 0u);
    EXPECT_EQ(word, Bytes({0x40, 0x41, 0x42, 0x43}));
    Bytes none;
    EXPECT_EQ(Ask(hPorts, IOCTL_VOPORT_WRITE_DWORD, Join(Number(0xCFC, 4), {9, 0, 0, 0}), &none),
              0u);
    EXPECT_EQ(ByteAt("sys/bus/pci/devices/0000:00:1f.3/config", 0x40), 9);
    EXPECT_EQ(ByteAt("dev/port", 0xCFC), 0xFC) << "the port itself is left alone";

    EXPECT_EQ(Select(0x80002040), 0u); // nobody sits at 0:04.0
    EXPECT_EQ(Ask(hPorts, IOCTL_VOPORT_READ_DWORD, Number(0xCFC, 4), &word), 0u);
    EXPECT_EQ(word, Bytes(4, 0xFF));
}

TEST_F(LinuxDeviceFiles, ProxyChannelReachesPortsAndMemory)
{
    const HANDLE hDriver = Open(ZELUPX_DEVICE_PATH);
    const auto Ports = [](DWORD dwPort, BYTE byValue) {
        return Join(Join(Number(0, 8), Number(dwPort, 4)), Number(ULONGLONG{byValue} << 32, 12));
    };
    const auto Memory = [](DWORD dwAddress, DWORD dwLength, const Bytes& data) {
        return Join(Join(Join(Number(0, 8), Number(dwAddress, 8)), Number(dwLength, 4)), data);
    };
    Bytes none;
    Bytes one(1);
    Bytes some(5);
    EXPECT_EQ(Ask(hDriver, IOCTL_KYPROXY_WRITE_PORT_UCHAR, Ports(0x66, 0xBA), &none), 0u);
    EXPECT_EQ(Ask(hDriver, IOCTL_KYPROXY_READ_PORT_UCHAR, Ports(0x66, 0), &one), 0u);
    EXPECT_EQ(one[0], 0xBA);
    EXPECT_EQ(Ask(hDriver, IOCTL_KYPROXY_WRITE_MEMORY_UCHAR,
                  Memory(0xFFE, 4, {1, 2, 3, 4, 0, 0, 0, 0}), &none),
              0u);
    EXPECT_EQ(Ask(hDriver, IOCTL_KYPROXY_READ_MEMORY_UCHAR, Memory(0xFFD, 5, {0, 0, 0, 0}), &some),
              0u);
    EXPECT_EQ(some, Bytes({0xFD, 1, 2, 3, 4}));
    EXPECT_EQ(Ask(hDriver, IOCTL_KYPROXY_WRITE_PORT_UCHAR, Ports(0x10000, 1), &none),
              kErrInvalidParameter);
}

/// As somebody who may not open what is closed to all: root would open it anyway.
class CUnprivileged
{
public:
    CUnprivileged() { ::setfsuid(65534); }
    CUnprivileged(const CUnprivileged&) = delete;
    CUnprivileged& operator=(const CUnprivileged&) = delete;
    ~CUnprivileged() { ::setfsuid(::geteuid()); }
};

TEST_F(LinuxDeviceFiles, WhatCannotBeOpenedSaysWhy)
{
    const WString strHub = WTEXT("/bus/usb/001/002");
    const std::string strDev = m_roots.strDev;
    const WString strWideDev(strDev.begin(), strDev.end());
    Write("dev/bus/usb/001/002", {});
    Write("dev/hidraw0", {});
    for (const char* pszFile : {"dev/port", "dev/bus/usb/001/002", "dev/hidraw0"})
        fs::permissions(m_root / pszFile, fs::perms::none);

    const struct
    {
        WString strPath;
        DWORD dwError;
    } cases[] = {
        {VOPORT_DEVICE_PATH, kErrAccessDenied},
        {strWideDev + strHub, kErrAccessDenied},
        {strWideDev + WTEXT("/hidraw0"), kErrAccessDenied},
        {strWideDev + WTEXT("/bus/usb/001/003"), kErrFileNotFound},
        {strWideDev + WTEXT("/hidraw1"), kErrFileNotFound},
        {strWideDev + WTEXT("/port"), kErrFileNotFound}, // no device of ours
        {WTEXT("\\\\.\\other"), kErrFileNotFound},
        {WTEXT(""), kErrFileNotFound},
    };
    fs::remove(m_root / "dev/mem");
    const CUnprivileged unprivileged;
    for (const auto& one : cases) {
        SCOPED_TRACE(std::string(one.strPath.begin(), one.strPath.end()));
        EXPECT_EQ(Open(one.strPath), InvalidHandle());
        EXPECT_EQ(ThreadLastError(), one.dwError);
    }
    const HANDLE hDriver = Open(ZELUPX_DEVICE_PATH);
    Bytes one(1);
    const Bytes read = Join(Number(0, 8), Number(0x66, 16));
    EXPECT_EQ(Ask(hDriver, IOCTL_KYPROXY_READ_PORT_UCHAR, read, &one), kErrAccessDenied);
    EXPECT_EQ(Ask(hDriver, IOCTL_KYPROXY_READ_MEMORY_UCHAR,
                  Join(Number(0, 8), Join(Number(0, 8), Number(1, 8))), &one),
              kErrFileNotFound);
}

TEST_F(LinuxDeviceFiles, PortDriverLoadsWithoutADriver)
{
    ::setenv("TMPDIR", m_root.c_str(), 1);
    CLinuxPlatform platform(m_roots);
    SetCurrentPlatform(&platform);
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    EXPECT_EQ(cmd.XH_InitVoPortDriver(0, 0, 0), 1);
    EXPECT_EQ(cmd.VoInputByte(0xEF12), 0x12);
    EXPECT_EQ(cmd.XH_UnInitVoPortDriver(), 1);
    SetCurrentPlatform(nullptr);
    ::unsetenv("TMPDIR");
}

TEST_F(LinuxDeviceFiles, HidCapabilitiesComeFromTheReportDescriptor)
{
    const Bytes vendor = {0x06, 0x70, 0xFF, 0x09, 0x20, 0xA1, 0x01, 0x75,
                          0x08, 0x95, 0x20, 0x09, 0x01, 0x81, 0x02, 0xC0};
    Write("dev/hidraw0", {});
    const HANDLE hDevice = OpenBelow("dev/hidraw0");
    HANDLE hData = nullptr;
    EXPECT_EQ(m_hid.GetPreparsedData(hDevice, &hData), 0);
    EXPECT_EQ(ThreadLastError(), kErrFileNotFound) << "gone from sysfs";

    const Bytes keyboard = {0x05, 0x01, 0x09, 0x06, 0xA1, 0x01, 0x75,
                            0x08, 0x95, 0x08, 0x81, 0x02, 0xC0};
    Write("sys/class/hidraw/hidraw0/device/report_descriptor", Join(keyboard, vendor));
    ASSERT_EQ(m_hid.GetPreparsedData(hDevice, &hData), 1);
    HID_CAPS caps = {};
    EXPECT_EQ(m_hid.GetCaps(hData, &caps), kHidSuccess);
    EXPECT_EQ(caps.UsagePage, 0xFF70);
    EXPECT_EQ(caps.Usage, 0x0020);
    EXPECT_EQ(caps.InputReportByteLength, 33);
    EXPECT_EQ(m_hid.FreePreparsedData(hData), 1);
    EXPECT_EQ(m_hid.FreePreparsedData(hData), 0);
    EXPECT_NE(m_hid.GetCaps(hData, &caps), kHidSuccess);

    Write("sys/class/hidraw/hidraw0/device/report_descriptor", {0x06, 0x70});
    EXPECT_EQ(m_hid.GetPreparsedData(hDevice, &hData), 0);
    EXPECT_EQ(ThreadLastError(), kErrInvalidData);
    EXPECT_EQ(m_hid.GetPreparsedData(nullptr, &hData), 0);
    EXPECT_EQ(ThreadLastError(), kErrInvalidHandle);
    EXPECT_TRUE(m_files.Close(hDevice));
}
} // namespace
