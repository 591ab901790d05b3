#pragma once

#include "dev/CState.h"

/// The mode of a device that is on the bus, not yet judged.
class ZEL_API CUnknownState : public CState
{
public:
    CUnknownState();

    bool Reset2Rom() override;
    bool Reset2Flash() override;
    bool WriteFlash() override;
    bool CheckFlash() override;
    bool DevReadVersion(USHORT& wVersion) override;
    bool DevErase() override;
    bool Arrive(DWORD devInst, DWORD dwOldSS) override;
    bool Remove() override;
    bool ToRom() override;
    bool ToFlash() override;
    bool ToWait() override;
    bool IsPresent() override;
    bool IsAbsent() override;
};
