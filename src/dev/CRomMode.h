#pragma once

#include "dev/CState.h"

/// The mode of a device that runs ROM (boot) code.
class ZEL_API CRomMode : public CState
{
public:
    CRomMode();

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
