#include "tools/zelhub/commands/AllCommands.h"

#include "tools/zelhub/commands/CBenchCommand.h"
#include "tools/zelhub/commands/CBillboardCommand.h"
#include "tools/zelhub/commands/CDumpCommand.h"
#include "tools/zelhub/commands/CEcCommand.h"
#include "tools/zelhub/commands/CEraseCommand.h"
#include "tools/zelhub/commands/CHidCommand.h"
#include "tools/zelhub/commands/CI2cCommand.h"
#include "tools/zelhub/commands/CInfoCommand.h"
#include "tools/zelhub/commands/CListCommand.h"
#include "tools/zelhub/commands/CMemCommand.h"
#include "tools/zelhub/commands/CPdCommand.h"
#include "tools/zelhub/commands/CPortCommand.h"
#include "tools/zelhub/commands/CPortsCommand.h"
#include "tools/zelhub/commands/CResetCommand.h"
#include "tools/zelhub/commands/CSmbusCommand.h"
#include "tools/zelhub/commands/CStatusCommand.h"
#include "tools/zelhub/commands/CUdevRuleCommand.h"
#include "tools/zelhub/commands/CUpdateCommand.h"
#include "tools/zelhub/commands/CVerifyCommand.h"
#include "tools/zelhub/commands/CVersionCommand.h"
#include "tools/zelhub/commands/CWatchCommand.h"

namespace
{

template<typename... Commands>
std::vector<std::unique_ptr<ICommand>> Make()
{
    std::vector<std::unique_ptr<ICommand>> commands;
    (commands.push_back(std::make_unique<Commands>()), ...);
    return commands;
}

} // namespace

std::vector<std::unique_ptr<ICommand>> AllCommands()
{
    return Make<CListCommand, CStatusCommand, CPortsCommand, CVersionCommand, CInfoCommand,
                CUpdateCommand, CEraseCommand, CDumpCommand, CVerifyCommand, CResetCommand,
                CWatchCommand, CPdCommand, CBillboardCommand, CI2cCommand, CHidCommand,
                CSmbusCommand, CEcCommand, CMemCommand, CPortCommand, CUdevRuleCommand,
                CBenchCommand>();
}
