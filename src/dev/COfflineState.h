#pragma once

#include "dev/CState.h"

/// The mode of a device that is not on the bus.
class ZEL_API COfflineState : public CState
{
public:
    COfflineState();

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
