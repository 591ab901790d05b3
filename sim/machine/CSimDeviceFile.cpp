#include "sim/machine/CSimDeviceFile.h"

#include "sim/machine/CSimDevicePath.h"
#include "sim/machine/CSimMachine.h"
#include "sim/machine/SimText.h"

namespace
{
constexpr DWORD kErrInvalidFunction = 1;
constexpr ULONGLONG kLowestAddress = 0x10000; // below it nothing of a process is mapped

/// An open control device: holds up its service's stop.
class CControlObject : public CSimHandleObject
{
public:
    CControlObject(std::shared_ptr<CSimSystem> pSystem, WString strService)
        : pDriver(pSystem->services.RunningDriver(strService)),
          m_pSystem(std::move(pSystem)),
          m_strService(std::move(strService))
    {
        m_pSystem->services.DeviceFileOpened(m_strService);
    }
    ~CControlObject() override { m_pSystem->services.DeviceFileClosed(m_strService); }

    ISimDriver* const pDriver;

private:
    std::shared_ptr<CSimSystem> m_pSystem;
    WString m_strService;
};

class CCaller : public ISimDriverCaller
{
public:
    explicit CCaller(CSimHandles& handles) : m_handles(handles) {}

    std::shared_ptr<ISimUsbDevice> DeviceBehind(ULONGLONG fileHandle) override
    {
        const auto h = reinterpret_cast<HANDLE>(fileHandle); // NOLINT(performance-no-int-to-ptr)
        const auto pObject = m_handles.Find<CSimDeviceFileObject>(h);
        return pObject == nullptr ? nullptr : pObject->pPath;
    }

    void* Memory(ULONGLONG address, size_t /*cb*/) override
    {
        if (address < kLowestAddress)
            return nullptr;
        return reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
    }

private:
    CSimHandles& m_handles;
};
} // namespace

HANDLE CSimDeviceFile::Open(const WCHAR* pszPath, DWORD /*dwAccess*/, DWORD /*dwShare*/,
                            DWORD dwDisposition, DWORD dwFlags)
{
    if (!m_machine.Enter("IDeviceFile::Open"))
        return InvalidHandle();
    if (dwDisposition != kOpenExisting)
        return m_machine.FailInvalid(kErrInvalidParameter);
    const WString strPath = SimText::Of(pszPath);
    const WString strPrefix = WTEXT("\\\\.\\");
    if (SimText::StartsNoCase(strPath, strPrefix)) {
        const WString strService = strPath.substr(strPrefix.size());
        if (m_machine.Services().RunningDriver(strService) == nullptr)
            return m_machine.FailInvalid(kErrFileNotFound);
        return m_machine.Handles().Add(
            "control device", SimText::Narrow(strPath),
            std::make_shared<CControlObject>(m_machine.System(), strService));
    }
    CSimNode* const pNode = m_machine.Tree().FindByPath(strPath);
    if (pNode == nullptr || !pNode->IsPresent())
        return m_machine.FailInvalid(kErrFileNotFound);
    if (pNode->Traits().dwOpenError != 0)
        return m_machine.FailInvalid(pNode->Traits().dwOpenError);
    auto pDevicePath =
        std::make_shared<CSimDevicePath>(*pNode, m_machine.Polls(), m_machine.Time());
    return m_machine.Handles().Add(
        "device", SimText::Narrow(strPath),
        std::make_shared<CSimDeviceFileObject>(std::move(pDevicePath), dwFlags));
}

bool CSimDeviceFile::Close(HANDLE hDevice)
{
    if (!m_machine.Enter("IDeviceFile::Close"))
        return false;
    CSimHandles& handles = m_machine.Handles();
    const bool bControl = handles.Find<CControlObject>(hDevice) != nullptr;
    const bool bClosed = bControl ? handles.Close<CControlObject>(hDevice)
                                  : handles.Close<CSimDeviceFileObject>(hDevice);
    return bClosed || m_machine.Fail(kErrInvalidHandle);
}

bool CSimDeviceFile::Control(HANDLE hDevice, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut,
                             DWORD cbOut, DWORD* pcbDone)
{
    if (!m_machine.Enter("IDeviceFile::Control"))
        return false;
    const auto pControl = m_machine.Handles().Find<CControlObject>(hDevice);
    if (pControl == nullptr) {
        const bool bDevice = m_machine.Handles().Find<CSimDeviceFileObject>(hDevice) != nullptr;
        return m_machine.Fail(bDevice ? kErrInvalidFunction : kErrInvalidHandle);
    }
    if (pcbDone == nullptr)
        return m_machine.Fail(kErrInvalidParameter);
    CCaller caller(m_machine.Handles());
    SimControlRequest request = {dwCode, pIn, cbIn, pOut, cbOut};
    const DWORD dwError = pControl->pDriver->Control(caller, request);
    *pcbDone = request.cbDone;
    return dwError == kErrNone || m_machine.Fail(dwError);
}
