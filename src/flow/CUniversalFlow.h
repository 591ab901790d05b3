#pragma once

#include "flow/IMpFlow.h"

class IDev;
class IDevFinder;

/// The sequences of an update, an erase and a version query, for every kind of device. Reports
/// progress in percent, and results, through the dispatcher. Owns neither finder nor device; the
/// device must be attached to the finder. Without one of them every operation fails.
class ZEL_API CUniversalFlow : public IMpFlow
{
public:
    CUniversalFlow() = default;
    CUniversalFlow(IDevFinder* pFinder, IDev* pDev);
    CUniversalFlow(const CUniversalFlow& other) = default; ///< shares finder and device
    CUniversalFlow& operator=(const CUniversalFlow& other) = default;
    ~CUniversalFlow() override;

    /// ROM code, erase, write, check, flash code, release.
    /// @return false when a step failed. Deliberate: a device that does not come back in time
    /// after a reset that succeeded ends the update early with true, and without progress 0.
    bool DevUpdate() override;

    /// @return true when the device was there and was released. Deliberate: also where the
    /// device refused, with wVersion unchanged.
    bool DevReadVersion(USHORT& wVersion) override;

    /// Resets to ROM whatever the state, then erases. @return true on success. Deliberate: also
    /// where the device did not come back after the reset, with nothing erased.
    bool DevErase() override;

    /// Reads the file into the device's firmware buffer; the firmware length stays as it is.
    /// @return false, with the buffer as it was, when the file is missing, unreadable or empty
    bool InitFwFinder(const std::string& strPath) override;
    bool DevReadBINVersion(USHORT& wVersion, int nWhich) override;

    virtual bool ConnectDevice(int nSeconds);    ///< always waits 10 s; the argument is ignored
    virtual bool DisconnectDevice(int nSeconds); ///< always waits 10 s; the argument is ignored

protected:
    /// Single steps of the device: no wait, no message.
    bool MP_Reset2Rom();
    bool MP_ForceReset2Rom();
    bool MP_WriteFlash();
    bool MP_CheckFlash();
    bool MP_Reset2Flash();

private:
    bool UpdateConnected();
    bool WriteAndCheck();
    bool RestartAndRelease();
    bool EraseConnected();
    bool Reconnect();
    bool IsWaiting() const;

    IDevFinder* m_pFinder = nullptr;
    IDev* m_pDev = nullptr;
};
