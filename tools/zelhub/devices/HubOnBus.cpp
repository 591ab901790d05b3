#include "tools/zelhub/devices/HubOnBus.h"

#include "find/CRootHubFilter.h"
#include "find/CUSBDevFind.h"
#include "platform/IDeviceTree.h"
#include "tools/zelhub/devices/CHubList.h"

#include <algorithm>

namespace
{

/// Sees every hub node, whoever made it.
class CAllHubs : public CUSBDevFind
{
public:
    CAllHubs() { m_rootHubs.EnumHostController(); }

    const GUID* GetClassGUID() override { return &kGuidUsbHub; }

    bool FilterDev(DWORD devInst) override
    {
        if (!m_rootHubs.Filter(devInst))
            m_found.push_back(devInst);
        return true; // the finder itself need not keep anything: it has no devices
    }

    const std::vector<DWORD>& Found() const { return m_found; }

private:
    CRootHubFilter m_rootHubs;
    std::vector<DWORD> m_found;
};

} // namespace

std::vector<DWORD> PresentHubs()
{
    CAllHubs hubs;
    hubs.EnumAllDevs();
    return hubs.Found();
}

bool IsHubOnBus(const std::string& strLocation)
{
    const std::vector<DWORD> hubs = PresentHubs();
    return std::any_of(hubs.begin(), hubs.end(),
                       [&](DWORD devInst) { return LocationOf(devInst) == strLocation; });
}
