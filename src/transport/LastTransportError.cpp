#include "transport/LastTransportError.h"

namespace
{
DWORD g_dwLastTransportError = 0;
}

DWORD GetLastTransportError()
{
    return g_dwLastTransportError;
}

void SetLastTransportError(DWORD dwError)
{
    g_dwLastTransportError = dwError;
}
