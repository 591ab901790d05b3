#include "sim/machine/CSimHid.h"

#include "sim/machine/CSimDevicePath.h"
#include "sim/machine/CSimMachine.h"
#include "sim/machine/SimText.h"

namespace
{
constexpr DWORD kErrInvalidFunction = 1;
constexpr LONG kHidInvalidPreparsedData = static_cast<LONG>(0xC0110001);

class CPreparsedObject : public CSimHandleObject
{
public:
    explicit CPreparsedObject(CSimNode& givenNode) : node(givenNode) {}
    CSimNode& node;
};
} // namespace

void CSimHid::GetHidGuid(GUID* pGuid)
{
    (void)m_machine.Fault("IHid::GetHidGuid");
    *pGuid = kGuidHid;
}

BYTE CSimHid::GetPreparsedData(HANDLE hDevice, HANDLE* phData)
{
    if (!m_machine.Enter("IHid::GetPreparsedData"))
        return 0;
    const auto pFile = m_machine.Handles().Find<CSimDeviceFileObject>(hDevice);
    if (pFile == nullptr || !pFile->pPath->Node().Traits().hidCaps) {
        m_machine.Fail(pFile == nullptr ? kErrInvalidHandle : kErrInvalidFunction);
        return 0;
    }
    CSimNode& node = pFile->pPath->Node();
    *phData =
        m_machine.Handles().Add("preparsed data", SimText::Narrow(node.Traits().strInstanceId),
                                std::make_shared<CPreparsedObject>(node));
    return 1;
}

LONG CSimHid::GetCaps(HANDLE hData, HID_CAPS* pCaps)
{
    if (const auto code = m_machine.Fault("IHid::GetCaps"))
        return static_cast<LONG>(*code);
    const auto pData = m_machine.Handles().Find<CPreparsedObject>(hData);
    if (pData == nullptr)
        return kHidInvalidPreparsedData;
    const SimNodeTraits& traits = pData->node.Traits();
    if (traits.lHidCapsStatus == kHidSuccess)
        *pCaps = traits.hidCaps.value_or(HID_CAPS{});
    return traits.lHidCapsStatus;
}

BYTE CSimHid::FreePreparsedData(HANDLE hData)
{
    if (!m_machine.Enter("IHid::FreePreparsedData"))
        return 0;
    if (m_machine.Handles().Close<CPreparsedObject>(hData))
        return 1;
    m_machine.Fail(kErrInvalidHandle);
    return 0;
}
