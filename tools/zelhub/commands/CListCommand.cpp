#include "tools/zelhub/commands/CListCommand.h"

#include "tools/zelhub/CHubSession.h"

void CListCommand::Declare(CArguments& root)
{
    Made(root.Sub("list", "Show the hubs on this machine, and which of them are the maker's",
                  "Asks every hub who made it; changes nothing. Exits 0 also for an empty list.\n"
                  "Both halves of a USB 3 hub are shown; updates go through the USB 2 half."));
}

void CListCommand::Run(CToolContext& context)
{
    CHubSession session(context);
    context.Out().Show("hubs", session.List().AsTable());
}
