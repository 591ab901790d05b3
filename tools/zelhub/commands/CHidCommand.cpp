#include "tools/zelhub/commands/CHidCommand.h"

#include "cmd/CRequestCMD.h"
#include "platform/IDeviceTree.h"
#include "tools/zelhub/devices/NodesOnBus.h"

#include <cstdio>

namespace
{

constexpr unsigned kCapsRead = 0x00110000; ///< the status of capabilities that were read

/// What the library says about a collection while it asks whether it is the maker's.
struct Collection
{
    bool bOwn = false;
    bool bKnown = false;
    unsigned nUsagePage = 0;
    unsigned nUsage = 0;
    std::string strReason;
};

Collection Ask(CToolResponder& responder, DWORD devInst)
{
    Collection collection;
    unsigned nStatus = 0;
    responder.OnLine([&](const std::string& strLine) {
        const size_t nCaps = strLine.find("HidP_GetCaps return 0x");
        const size_t nUsage = strLine.find("UsagePage is 0x");
        if (nCaps != std::string::npos)
            (void)std::sscanf(strLine.c_str() + nCaps, "HidP_GetCaps return 0x%x", &nStatus);
        if (nUsage != std::string::npos)
            (void)std::sscanf(strLine.c_str() + nUsage, "UsagePage is 0x%x, Usage is 0x%x",
                              &collection.nUsagePage, &collection.nUsage);
    });
    responder.ForgetFailure();
    collection.bOwn = CRequestCMD::GetRequestObj()->KyHid_IsITEHid(devInst) == 1;
    responder.OnLine({});
    collection.bKnown = nStatus == kCapsRead;
    if (!collection.bKnown)
        collection.strReason =
            responder.FirstFailure().empty()
                ? "its capabilities cannot be read (status " + Hex(nStatus, 8) + ")"
                : responder.FirstFailure();
    return collection;
}

std::vector<Cell> RowOf(CToolResponder& responder, DWORD devInst)
{
    const Collection collection = Ask(responder, devInst);
    const auto number = [&](unsigned n) {
        return collection.bKnown ? Cell(Hex(n, 4), static_cast<long long>(n)) : Cell::None();
    };
    const std::string strKind = !collection.bKnown ? "cannot be asked: " + collection.strReason
                                : collection.bOwn  ? "the maker's"
                                                   : "not the maker's";
    return {Cell::Number(devInst),
            Cell::Optional(IdsOfNode(devInst)),
            number(collection.nUsagePage),
            number(collection.nUsage),
            Cell(strKind, !collection.bKnown ? "unknown"
                          : collection.bOwn  ? "own"
                                             : "foreign"),
            collection.bKnown ? Cell::None("") : Cell("", collection.strReason)};
}

} // namespace

void CHidCommand::Declare(CArguments& root)
{
    CArguments group = root.Sub("hid", "Show HID devices");
    m_list = group.Sub("list", "Show the HID collections and which are the maker's",
                       "Opens each for a moment and changes nothing. Exits 0 also when there is\n"
                       "none.");
}

void CHidCommand::Run(CToolContext& context)
{
    CHubSession session(context);
    Table table;
    table.columns = {{"instance", "Instance"}, {"ids", "ID"},    {"usagePage", "Usage page"},
                     {"usage", "Usage"},       {"kind", "Kind"}, {"reason", ""}};
    table.pszEmpty = "no HID devices found";
    for (const DWORD devInst : NodesOf(kGuidHid))
        table.rows.push_back(RowOf(session.Responder(), devInst));
    context.Out().Show("hid", table);
}
