#pragma once

#include "tools/zelhub/CHubList.h"

/// Asks one hub who it is, opening and closing it. The hubs' state is left as it was.
namespace HubProbe
{

/// A hub that the library does not take for the maker's: somebody else's, or one that cannot
/// be asked. Fills kind, IDs and reason.
void AskStranger(HubRow& row);

/// One of the maker's: fills which code runs, and its version.
void AskOwn(HubRow& row);

} // namespace HubProbe
