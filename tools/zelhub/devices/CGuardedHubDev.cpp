#include "tools/zelhub/devices/CGuardedHubDev.h"

#include "cmd/CRequestCMD.h"
#include "wire/HubRequests.h"

DWORD CGuardedHubDev::PieceSize() const
{
    return FLASH_REQUEST_MAX;
}

DWORD CGuardedHubDev::ReadPiece(DWORD dwOffset, BYTE* pBuf, DWORD cb)
{
    return CRequestCMD::GetRequestObj()->KyHub_ReadFlash2(m_dwFlashAddr + dwOffset, pBuf, cb);
}
