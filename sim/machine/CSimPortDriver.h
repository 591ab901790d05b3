#pragma once

#include "sim/machine/ISimDriver.h"
#include "sim/models/ISimPortSpace.h"

#include <string>
#include <vector>

/// The driver behind "\\.\voport": the eight requests of wire/PortIo.h, in both layouts. What is
/// not exactly right is refused with 87 and noted.
class CSimPortDriver : public ISimDriver
{
public:
    CSimPortDriver(ISimPortSpace& ports, ISimPortSpace& memory);

    DWORD Control(ISimDriverCaller& caller, SimControlRequest& request) override;
    void Unload() override {}

    const std::vector<std::string>& Rejections() const { return m_rejections; }

    /// Lines such as "read port 0xEFA0 1 = 0x42": what, where, bytes, value.
    const std::vector<std::string>& Log() const { return m_log; }
    void ClearLog() { m_log.clear(); }
    void KeepLog(bool bKeep) { m_bKeepLog = bKeep; } ///< on at first

    /// Makes every read report this many bytes instead of those asked for (0: honest again).
    void LieAboutLength(DWORD cb) { m_cbLie = cb; }

private:
    DWORD Reject(const SimControlRequest& request, const char* pszReason);
    void Note(const char* pszWhat, ULONGLONG address, unsigned cb, DWORD dwValue);

    ISimPortSpace& m_ports;
    ISimPortSpace& m_memory;
    std::vector<std::string> m_rejections;
    std::vector<std::string> m_log;
    bool m_bKeepLog = true;
    DWORD m_cbLie = 0;
};
