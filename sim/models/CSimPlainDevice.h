#pragma once

#include "sim/models/CSimClock.h"
#include "sim/models/ISimUsbDevice.h"
#include "wire/UsbDescriptors.h"

#include <map>

/// A device of somebody else: it answers its device descriptor and the string descriptors that
/// it was given, and stalls everything else.
class CSimPlainDevice : public ISimUsbDevice
{
public:
    CSimPlainDevice(CSimClock& clock, USHORT wVid, USHORT wPid, BYTE byClass);

    void SetString(BYTE byIndex, const WString& strText) { m_strings[byIndex] = strText; }
    USB_DEVICE_DESCRIPTOR& Descriptor() { return m_descriptor; }

    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs) override;

private:
    CSimClock& m_clock;
    USB_DEVICE_DESCRIPTOR m_descriptor = {};
    std::map<BYTE, WString> m_strings;
};
