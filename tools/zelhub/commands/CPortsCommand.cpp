#include "tools/zelhub/commands/CPortsCommand.h"

#include "api/zelhub.h"
#include "tools/zelhub/devices/CHubSession.h"

namespace
{

constexpr DWORD kNothingThere = 0xFFFFFFFF;

std::vector<Cell> RowOf(const _Hub_Info& info)
{
    const std::string strLocation = LocationOf(info.DevInst);
    const std::string strPort = PortChain(strLocation);
    const std::string strIds = Narrow(info.VID) + ":" + Narrow(info.PID);
    return {Cell::Number(info.DevInst), Cell::Optional(strPort),
            strIds == ":" ? Cell::None() : Cell(Printable(strIds)), Cell::Optional(strLocation)};
}

} // namespace

void CPortsCommand::Declare(CArguments& root)
{
    Made(root.Sub("ports", "Show the devices on the ports of all hubs (root hubs left out)",
                  "Changes and opens nothing. Exits 0 also when no device is found."));
}

void CPortsCommand::Run(CToolContext& context)
{
    CHubSession session(context);
    CHubFind finder;
    _Hub_Info* pList = nullptr;
    DWORD dwCount = 0;
    const DWORD dwRes = finder.ListAllDevPortInfo(&pList, &dwCount);
    if (dwRes != 0 && dwRes != kNothingThere)
        throw CToolError(ExitCode::General,
                         "the ports cannot be listed (error " + std::to_string(dwRes) + ")",
                         "Type this again.");
    Table table;
    table.columns = {
        {"instance", "Instance"}, {"port", "Port"}, {"ids", "ID"}, {"location", "Location"}};
    table.pszEmpty = "no devices found on the ports of hubs";
    for (DWORD i = 0; pList != nullptr && i < dwCount; ++i)
        if (pList[i].DevInst != 0) // a device that went meanwhile leaves an empty record
            table.rows.push_back(RowOf(pList[i]));
    XH_FreeAllDevice(pList);
    context.Out().Show("ports", table);
}
