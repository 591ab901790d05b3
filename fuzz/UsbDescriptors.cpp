// What a device answers while the library asks who it is: device and string descriptors of any
// content and length, failures between them; and the text that says where it hangs.
#include "wire/UsbDescriptors.h"
#include "fuzz/CFuzzHost.h"
#include "fuzz/Demand.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>

namespace
{
/// Answers whatever the input says.
class CFuzzedDevice : public ISimUsbDevice
{
public:
    void Feed(FuzzedDataProvider& input)
    {
        m_pInput = &input;
        m_bNamed = false;
    }

    /// Whether an answer held one of the names that the maker's hubs have.
    bool WasNamed() const { return m_bNamed; }

    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData, DWORD) override
    {
        switch (m_pInput->ConsumeIntegralInRange<int>(0, 15)) {
        case 0:
            return {kErrGenFailure, 0, 0};
        case 1:
            return {kErrSemTimeout, 0, 0};
        case 2:
            return {kErrNone, 0xC0000004, 0};
        default:
            break;
        }
        if (m_pInput->remaining_bytes() == 0)
            return {kErrGenFailure, 0, 0};
        const auto bytes = m_pInput->ConsumeBytes<BYTE>(
            m_pInput->ConsumeIntegralInRange<std::size_t>(0, setup.wLength));
        std::copy(bytes.begin(), bytes.end(), pData);
        m_bNamed = m_bNamed || IsName(bytes);
        return {kErrNone, 0, static_cast<DWORD>(bytes.size())};
    }

private:
    static bool IsName(const std::vector<BYTE>& bytes)
    {
        std::string strText;
        for (std::size_t i = 2; i < bytes.size(); i += 2)
            strText += static_cast<char>(std::toupper(bytes[i]));
        return strText.rfind("VO HUB", 0) == 0 || strText.rfind("SM BUS", 0) == 0;
    }

    FuzzedDataProvider* m_pInput = nullptr;
    bool m_bNamed = false;
};

struct Stage : CFuzzHost
{
    CFuzzedDevice device;
    CSimNode& node = machine.Tree().AddHub(machine.RootHub(), 1, HubNodeOptions{}, &device);
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const BYTE* pData, std::size_t cb)
{
    static Stage s_stage;
    FuzzedDataProvider input(pData, cb);
    WString strLocation;
    for (const char ch : input.ConsumeRandomLengthString(300))
        strLocation += static_cast<WCHAR>(ch);
    s_stage.node.Traits().strLocationInformation = strLocation;
    const int nAcceptSmBus = input.ConsumeBool() ? 1 : 0;
    s_stage.device.Feed(input);

    const int nIs = s_stage.transport.KyHub_IsVoHub(s_stage.node.DevInst(), nAcceptSmBus);
    Demand(nIs == 0 || s_stage.device.WasNamed(), "only what has the name is the maker's");
    Demand(s_stage.IsTidy(), "all is closed after the question");

    if (s_stage.transport.KyHub_OpenDeviceByDevInst(s_stage.node.DevInst()) == 0) {
        BYTE data[64] = {};
        (void)s_stage.transport.KyHub_SendVDCmd(0xC0, 0x09, 0, 0, data, 20, 100);
    }
    s_stage.transport.KyHub_CloseDevice();
    Demand(s_stage.IsTidy(), "all is closed after an open");
    return 0;
}
