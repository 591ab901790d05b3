#include "CSysfsTree.h"

#include <filesystem>
#include <gmock/gmock.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/CLinuxPowerSwitch.h"
#include "platform/linux/Utf8.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr const char* kTwoHubs = R"(
pci0000:00
  0000:00:14.0
    usb1 1d6b:0002 hub 480
      1-1 1234:5678 hub 480
      1-10 1234:5678 hub 480
)";
constexpr const char* kHub1 = "USB\\\\VID[_]1234&PID[_]5678\\\\5&%&0&001";

class LinuxPowerSwitch : public testing::Test
{
protected:
    void Connect(bool bMayWrite = true)
    {
        m_pPower = std::make_unique<CLinuxPowerSwitch>(m_nodes, bMayWrite);
        HANDLE hLocator = nullptr;
        ASSERT_EQ(m_pPower->InitializeCom(2), kHrOk);
        ASSERT_EQ(m_pPower->InitializeSecurity(-1, 1, 4, 0), kHrOk);
        ASSERT_EQ(m_pPower->CreateLocator(&hLocator), kHrOk);
        ASSERT_EQ(m_pPower->ConnectServer(hLocator, WTEXT("ROOT\\WMI"), &m_hServices), kHrOk);
        ASSERT_EQ(m_pPower->SetProxyBlanket(m_hServices, 10, 0, 3, 3, 0), kHrOk);
        m_pPower->Release(hLocator);
    }

    std::vector<HANDLE> Query(const std::string& strPattern)
    {
        const WString strQuery = WideFromUtf8(
            "SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE \"" + strPattern + "%%\"");
        std::vector<HANDLE> objects;
        HANDLE hEnumerator = nullptr;
        EXPECT_EQ(
            m_pPower->ExecQuery(m_hServices, WTEXT("WQL"), strQuery.c_str(), 0x30, &hEnumerator),
            kHrOk);
        HANDLE hObject = nullptr;
        DWORD dwReturned = 0;
        while (m_pPower->Next(hEnumerator, -1, &hObject, &dwReturned) == kHrOk)
            objects.push_back(hObject);
        EXPECT_EQ(dwReturned, 0u);
        return objects;
    }

    /// The hub's old value, after which its power saving is as bEnable wants it.
    DWORD Switch(bool bEnable)
    {
        const std::vector<HANDLE> objects = Query(kHub1);
        EXPECT_EQ(objects.size(), 1u);
        DWORD dwOld = 1;
        EXPECT_EQ(m_pPower->GetSwitch(objects.at(0), WTEXT("Enable"), &dwOld), kHrOk);
        EXPECT_EQ(m_pPower->PutSwitch(objects.at(0), WTEXT("Enable"), bEnable), kHrOk);
        m_lWritten = m_pPower->PutInstance(m_hServices, objects.at(0), 1);
        return dwOld;
    }
    std::string Control() const { return m_sysfs.Get("1-1", "power/control"); }

    CSysfsTree m_sysfs{kTwoHubs};
    CLinuxNodes m_nodes{m_sysfs.SysRoot(), m_sysfs.DevRoot()};
    std::unique_ptr<CLinuxPowerSwitch> m_pPower;
    HANDLE m_hServices = nullptr;
    LONG m_lWritten = -1;
};

TEST_F(LinuxPowerSwitch, TurnsAutosuspendOffAndOnAgainAndReportsWhatWasThere)
{
    Connect();
    EXPECT_EQ(Switch(false), 0xFFFFFFFF);
    EXPECT_EQ(Control(), "on");
    EXPECT_EQ(Switch(false), 0u);
    EXPECT_EQ(Switch(true), 0u);
    EXPECT_EQ(Control(), "auto");
    EXPECT_EQ(m_lWritten, kHrOk);
    EXPECT_EQ(m_sysfs.Get("1-10", "power/control"), "auto");
}

TEST_F(LinuxPowerSwitch, WritesNothingWithoutTheRightOrNeed)
{
    Connect(false);
    EXPECT_EQ(Switch(false), 0xFFFFFFFF);
    EXPECT_EQ(m_lWritten, kHrOk);
    EXPECT_EQ(Control(), "auto");
    Connect();
    const std::string strFile = m_sysfs.File("1-1", "power/control");
    std::filesystem::last_write_time(strFile, {});
    EXPECT_EQ(Switch(true), 0xFFFFFFFF); // as it stands already
    EXPECT_EQ(m_lWritten, kHrOk);
    EXPECT_EQ(std::filesystem::last_write_time(strFile), std::filesystem::file_time_type());
}

TEST_F(LinuxPowerSwitch, FindsOneHubByItsIdAndNotItsNeighbourOnPort10)
{
    Connect();
    EXPECT_EQ(Query(kHub1).size(), 1u);
    EXPECT_EQ(Query("USB\\\\VID[_]1234").size(), 2u);
    EXPECT_THAT(Query("USB\\\\VID[_]9999"), IsEmpty());
    WString strName;
    const HANDLE hObject = Query(kHub1).at(0);
    EXPECT_EQ(m_pPower->GetText(hObject, WTEXT("InstanceName"), &strName), kHrOk);
    EXPECT_EQ(strName.substr(strName.size() - 6), WTEXT("&001_0"));
    m_sysfs.Set("1-1", "power/control", "always");
    EXPECT_THAT(Query(kHub1), IsEmpty());
    m_sysfs.Drop("1-1", "power/control"); // a kernel that manages no power
    EXPECT_THAT(Query(kHub1), IsEmpty());
}

TEST_F(LinuxPowerSwitch, FailsOnAHubThatWentInTheMiddle)
{
    Connect();
    const HANDLE hObject = Query(kHub1).at(0);
    m_sysfs.Unplug("1-1");
    DWORD dwValue = 7;
    EXPECT_LT(m_pPower->GetSwitch(hObject, WTEXT("Enable"), &dwValue), 0);
    EXPECT_EQ(dwValue, 7u);
    EXPECT_EQ(m_pPower->PutSwitch(hObject, WTEXT("Enable"), false), kHrOk);
    EXPECT_EQ(static_cast<DWORD>(m_pPower->PutInstance(m_hServices, hObject, 1)), 0x8007048F);
}
} // namespace
