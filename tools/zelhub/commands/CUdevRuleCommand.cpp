#include "tools/zelhub/commands/CUdevRuleCommand.h"

#include "tools/zelhub/devices/CHubSession.h"

#include <algorithm>
#include <set>

namespace
{

/// What may stand between the quotes of a rule: "1234:5678" as the system writes it.
bool IsIdPair(const std::string& strIds)
{
    return strIds.size() == 9 && strIds[4] == ':' &&
           strIds.find_first_not_of("0123456789abcdef:") == std::string::npos;
}

std::set<std::string> IdsOfTheMakers(const std::vector<HubRow>& rows)
{
    std::set<std::string> ids;
    for (const HubRow& row : rows) {
        if (row.eKind != HubKind::Own && row.eKind != HubKind::SuperSpeedHalf)
            continue;
        std::string strIds = row.strIds;
        for (char& ch : strIds)
            ch = ch >= 'A' && ch <= 'F' ? static_cast<char>(ch - 'A' + 'a') : ch;
        if (IsIdPair(strIds))
            ids.insert(strIds);
    }
    return ids;
}

std::string RuleFile(const std::set<std::string>& ids)
{
    std::string strRules =
        "# Who sits at this machine may open these hubs. Made by zelhub udev-rule.\n"
        "# Keep it as /etc/udev/rules.d/60-zelhub.rules: the name must come before 73.\n";
    for (const std::string& strIds : ids)
        strRules += R"(ACTION!="remove", SUBSYSTEM=="usb", ENV{DEVTYPE}=="usb_device", )"
                    R"(ATTR{bDeviceClass}=="09", ATTR{idVendor}==")" +
                    strIds.substr(0, 4) + R"(", ATTR{idProduct}==")" + strIds.substr(5) +
                    R"(", TAG+="uaccess")" + "\n";
    return strRules;
}

[[noreturn]] void RefuseWithoutHubs(const CHubList& list)
{
    if (list.SomeMayNotBeOpened())
        throw CToolError(ExitCode::NoAccess,
                         "hubs are here, but they may not be opened to ask who made them",
                         "Type this as root: sudo zelhub udev-rule");
    const auto it = std::find_if(list.Rows().begin(), list.Rows().end(),
                                 [](const HubRow& row) { return row.eKind == HubKind::Unknown; });
    if (it != list.Rows().end())
        throw CToolError(ExitCode::NoAccess,
                         "the hub at " + Printable(it->strLocation) +
                             " cannot be asked who made it: " + it->strReason,
                         "Close other programs that use it, or plug it in again.");
    throw CToolError(ExitCode::NoDevice, "no hub of the maker's is here to make a rule for",
                     "Plug it in, then type this again; zelhub list shows what is seen.");
}

} // namespace

void CUdevRuleCommand::Declare(CArguments& root)
{
    Made(root.Sub("udev-rule",
                  "Print a udev rule file for the maker's hubs that are plugged in (Linux)",
                  "Type it as root, once: hubs are known by their answer, and only root may ask\n"
                  "before there is a rule. With the rule, who sits at the machine may open them.\n"
                  "Only these hubs' own IDs are named. A hub whose ROM code or new firmware shows\n"
                  "another ID needs its own line: type it again while that code runs.\n"
                  "  sudo sh -c 'zelhub udev-rule >> /etc/udev/rules.d/60-zelhub.rules'\n"
                  "  sudo udevadm control --reload\n"
                  "  sudo udevadm trigger --subsystem-match=usb"));
}

void CUdevRuleCommand::Run(CToolContext& context)
{
    CHubSession session(context);
    const CHubList list = session.List();
    const std::set<std::string> ids = IdsOfTheMakers(list.Rows());
    if (ids.empty())
        RefuseWithoutHubs(list);
    context.Out().ShowText("rules", RuleFile(ids));
    if (list.SomeMayNotBeOpened())
        context.Out().Warn("other hubs may not be opened; as root, a rule for them is made too");
}
