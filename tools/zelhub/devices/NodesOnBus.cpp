#include "tools/zelhub/devices/NodesOnBus.h"

#include "find/CDevProperty.h"
#include "find/CUSBDevFind.h"
#include "tools/zelhub/devices/CHubList.h"

#include <algorithm>

namespace
{

/// Sees every node of a class.
class CAllNodes : public CUSBDevFind
{
public:
    explicit CAllNodes(const GUID& interfaceClass) : m_class(interfaceClass) {}

    const GUID* GetClassGUID() override { return &m_class; }

    bool FilterDev(DWORD devInst) override
    {
        m_found.push_back(devInst);
        return true; // the finder itself need not keep anything: it has no devices
    }

    const std::vector<DWORD>& Found() const { return m_found; }

private:
    const GUID m_class;
    std::vector<DWORD> m_found;
};

bool TakeDigits(DWORD dwInstance, WString& strText)
{
    for (int i = 0; i < 4; ++i) {
        const std::string strDigits = "0123456789ABCDEF";
        const auto it = std::find_if(strDigits.begin(), strDigits.end(), [&](char ch) {
            return CDevProperty::GetObj()->HasHardwareId(dwInstance,
                                                         strText + static_cast<WCHAR>(ch));
        });
        if (it == strDigits.end())
            return false;
        strText += static_cast<WCHAR>(*it);
    }
    return true;
}

} // namespace

std::vector<DWORD> NodesOf(const GUID& interfaceClass)
{
    CAllNodes nodes(interfaceClass);
    nodes.EnumAllDevs();
    return nodes.Found();
}

std::string IdsOfNode(DWORD dwInstance)
{
    WString strText = WTEXT("VID_");
    if (!TakeDigits(dwInstance, strText))
        return {};
    strText += WTEXT("&PID_");
    if (!TakeDigits(dwInstance, strText))
        return {};
    const std::string strIds = Narrow(strText.c_str());
    return strIds.substr(4, 4) + ":" + strIds.substr(13, 4);
}
