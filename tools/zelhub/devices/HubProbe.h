#pragma once

#include "tools/zelhub/devices/CHubList.h"

/// Asks one hub who it is, opening and closing it. The hubs' state is left as it was.
namespace HubProbe
{

/// The library's own test, which asks twice: for the device descriptor and for the name. Fills
/// kind, IDs and reason.
void Identify(HubRow& row, CToolResponder& responder);

/// One of the maker's: fills which code runs, and its version.
void AskOwn(HubRow& row);

} // namespace HubProbe
