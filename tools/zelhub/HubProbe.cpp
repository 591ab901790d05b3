#include "tools/zelhub/HubProbe.h"

#include "cmd/CRequestCMD.h"
#include "platform/ErrorCodes.h"
#include "tools/zelhub/HubReads.h"
#include "wire/HubRequests.h"
#include "wire/UsbDescriptors.h"

#include <algorithm>
#include <cctype>

namespace
{

constexpr DWORD kWasSuspending = 0xFFFFFFFF; ///< the old power value that asks for restoring

/// Opens a hub for as long as it lives.
class COpenHub
{
public:
    explicit COpenHub(DWORD dwInstance) : m_dwInstance(dwInstance)
    {
        m_bOpen = CRequestCMD::GetRequestObj()->XH_OpenDevice(dwInstance, m_dwOldPower) == 1;
    }
    COpenHub(const COpenHub&) = delete;
    COpenHub& operator=(const COpenHub&) = delete;
    ~COpenHub()
    {
        if (m_bOpen)
            (void)CRequestCMD::GetRequestObj()->XH_CloseDevice();
        if (m_dwOldPower == kWasSuspending)
            (void)CRequestCMD::GetRequestObj()->KyHub_TurnOnHubSS(m_dwInstance);
    }

    bool IsOpen() const { return m_bOpen; }

private:
    DWORD m_dwInstance;
    DWORD m_dwOldPower = 0;
    bool m_bOpen = false;
};

DWORD ReadDescriptor(BYTE byType, BYTE byIndex, std::vector<BYTE>& bytes)
{
    BYTE setup[8] = {0x80, 0x06, byIndex, byType, 0, 0, static_cast<BYTE>(bytes.size()), 0};
    return CRequestCMD::GetRequestObj()->KyHub_CtlPipeIn(setup, bytes.data());
}

std::string IdText(USHORT wVid, USHORT wPid)
{
    return Hex(wVid, 4).substr(2) + ":" + Hex(wPid, 4).substr(2);
}

bool SaysItIsOurs(const std::vector<BYTE>& text)
{
    std::string strText;
    for (size_t i = 2; i + 1 < text.size() && i + 1 < text[0]; i += 2)
        strText += text[i + 1] == 0 ? static_cast<char>(std::toupper(text[i])) : '?';
    return strText == "VO HUB" || strText == "SM BUS";
}

} // namespace

void HubProbe::AskStranger(HubRow& row)
{
    const COpenHub hub(row.dwInstance);
    if (!hub.IsOpen()) {
        row.strReason = "it cannot be opened";
        return;
    }
    std::vector<BYTE> device(USB_DEVICE_DESCRIPTOR_LENGTH);
    if (ReadDescriptor(USB_DESCRIPTOR_DEVICE, 0, device) != 0 ||
        device[0] != USB_DEVICE_DESCRIPTOR_LENGTH) {
        row.strReason = "it does not answer";
        return;
    }
    row.strIds = IdText(static_cast<USHORT>(device[8] | device[9] << 8),
                        static_cast<USHORT>(device[10] | device[11] << 8));
    std::vector<BYTE> text(0xFF);
    const DWORD dwRes = ReadDescriptor(USB_DESCRIPTOR_STRING, HUB_IDENTITY_STRING_INDEX, text);
    const bool bNoSuchString = dwRes == kErrGenFailure; // the hub stalled
    if (bNoSuchString || (dwRes == kErrNone && !SaysItIsOurs(text))) {
        row.eKind = HubKind::Foreign;
    } else {
        row.strReason = dwRes == kErrNone
                            ? "it answered twice in different ways"
                            : "its name cannot be read (error " + std::to_string(dwRes) + ")";
    }
}

void HubProbe::AskOwn(HubRow& row)
{
    const COpenHub hub(row.dwInstance);
    HubReads::Status status = {};
    if (!hub.IsOpen() || !HubReads::ReadStatus(status))
        return;
    row.bStatusKnown = true;
    row.bRunsFlash = HubReads::RunsFlashCode(status);
    row.wVersion = HubReads::RunningVersion(status);
}
