#pragma once

#include "dev/CHubDev.h"
#include "tools/zelhub/devices/CGuardedDev.h"

/// The tool's hub.
class CGuardedHubDev : public CGuardedDev<CHubDev>
{
public:
    CGuardedHubDev() : CGuardedDev("hub") {}

protected:
    DWORD PieceSize() const override;
    DWORD ReadPiece(DWORD dwOffset, BYTE* pBuf, DWORD cb) override;
};
