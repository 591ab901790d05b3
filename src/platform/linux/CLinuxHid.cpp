#include "platform/linux/CLinuxHid.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "platform/ErrorCodes.h"
#include "platform/IDeviceTree.h"
#include "platform/linux/LinuxDeviceFiles.h"
#include "platform/linux/LinuxError.h"
#include "wire/CReportDescriptor.h"

namespace
{
constexpr LONG kInvalidPreparsedData = static_cast<LONG>(0xC0110001);
constexpr std::size_t kDescriptorMax = 4096; // the kernel's own limit
constexpr USHORT kVendorPages = 0xFF00;      // and all above

class CPreparsedData : public CLinuxHandleObject
{
public:
    explicit CPreparsedData(const HID_CAPS& givenCaps) : caps(givenCaps) {}
    const HID_CAPS caps;
};

/// @return false with errno set when it cannot be read
bool ReadDescriptor(const std::string& strFolder, std::vector<BYTE>* pReport)
{
    const CDescriptor file(
        ::open((strFolder + "/report_descriptor").c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen())
        return false;
    pReport->resize(kDescriptorMax);
    const ssize_t n = ::read(file.Get(), pReport->data(), pReport->size());
    pReport->resize(n < 0 ? 0 : static_cast<std::size_t>(n));
    return n >= 0;
}
/// A hidraw device holds all collections of an interface, each of which Windows makes a device of
/// its own. Those of a vendor's are what is looked for; a keyboard beside them must not hide them.
const HID_CAPS& Telling(const std::vector<HID_CAPS>& collections)
{
    const auto it = std::find_if(collections.begin(), collections.end(), [](const HID_CAPS& caps) {
        return caps.UsagePage >= kVendorPages;
    });
    return it == collections.end() ? collections.front() : *it;
}
} // namespace

void CLinuxHid::GetHidGuid(GUID* pGuid)
{
    *pGuid = kGuidHid;
}

BYTE CLinuxHid::GetPreparsedData(HANDLE hDevice, HANDLE* phData)
{
    const auto pFile = m_handles.Find<CLinuxHidFile>(hDevice);
    std::vector<BYTE> report;
    if (pFile == nullptr) {
        FailWith(kErrInvalidHandle);
        return 0;
    }
    if (!ReadDescriptor(pFile->Folder(), &report)) {
        FailWithErrno();
        return 0;
    }
    const std::vector<HID_CAPS> collections = CReportDescriptor::Collections(report);
    if (collections.empty()) {
        FailWith(kErrInvalidData);
        return 0;
    }
    *phData = m_handles.Add(std::make_shared<CPreparsedData>(Telling(collections)));
    return 1;
}

LONG CLinuxHid::GetCaps(HANDLE hData, HID_CAPS* pCaps)
{
    const auto pData = m_handles.Find<CPreparsedData>(hData);
    if (pData == nullptr)
        return kInvalidPreparsedData;
    *pCaps = pData->caps;
    return kHidSuccess;
}

BYTE CLinuxHid::FreePreparsedData(HANDLE hData)
{
    if (m_handles.Close<CPreparsedData>(hData))
        return 1;
    FailWith(kErrInvalidHandle);
    return 0;
}
