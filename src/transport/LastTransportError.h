#pragma once

#include "platform/Types.h"

/// The code of the last failed transfer. One for the whole process; survives between calls.
DWORD GetLastTransportError();
void SetLastTransportError(DWORD dwError);
