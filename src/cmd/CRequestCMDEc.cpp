// Registers of the embedded controller, through the transport's port operations. None of the
// waits has a limit, and failed port operations are not seen: a host that needs a bound runs this
// where it can end it.
#include "cmd/CRequestCMD.h"
#include "cmd/ECAccess.h"
#include "platform/IClock.h"
#include "platform/Platform.h"

namespace
{
constexpr BYTE kOutputFull = 0x01;
constexpr BYTE kInputFull = 0x02;
constexpr BYTE kBurst = 0x10;
constexpr BYTE kReadEc = 0x80;
constexpr BYTE kWriteEc = 0x81;

/// Spins; a counter slower than 1 MHz gives no wait at all.
void BusyWaitMicrosecond()
{
    IClock& clock = CurrentPlatform().Clock();
    const LONGLONG llTicks = clock.Frequency() / 1000000;
    if (llTicks == 0)
        return;
    const LONGLONG llStart = clock.Counter();
    while (clock.Counter() - llStart < llTicks) {
    }
}

/// The ports of one controller during one access.
class CEcPorts
{
public:
    CEcPorts(IPropertyEx* pTransport, DWORD dwCmdPort, DWORD dwDataPort)
        : m_pTransport(pTransport), m_dwCmdPort(dwCmdPort), m_dwDataPort(dwDataPort)
    {}

    void WaitInputEmpty()
    {
        ReadStatus();
        while ((m_byStatus & kInputFull) != 0 && (m_byStatus & kBurst) == 0) {
            BusyWaitMicrosecond();
            ReadStatus();
        }
    }

    void WaitOutputFull()
    {
        ReadStatus();
        while ((m_byStatus & kOutputFull) == 0) {
            BusyWaitMicrosecond();
            ReadStatus();
        }
    }

    void Command(BYTE byCommand) { m_pTransport->KyHub_WritePortUCHAR(m_dwCmdPort, byCommand); }
    void Data(BYTE byData) { m_pTransport->KyHub_WritePortUCHAR(m_dwDataPort, byData); }
    void ReadData(BYTE& byData) { m_pTransport->KyHub_ReadPortUCHAR(m_dwDataPort, &byData); }

private:
    void ReadStatus() { m_pTransport->KyHub_ReadPortUCHAR(m_dwCmdPort, &m_byStatus); }

    IPropertyEx* m_pTransport;
    DWORD m_dwCmdPort;
    DWORD m_dwDataPort;
    BYTE m_byStatus = 0; ///< what was read last; a failed read leaves it
};
} // namespace

void CRequestCMD::WriteGeneralECReg(DWORD dwCmdPort, DWORD dwDataPort, BYTE byReg, BYTE byValue)
{
    CEcPorts ec(m_pProxy->GetTransport(), dwCmdPort, dwDataPort);
    ec.WaitInputEmpty();
    ec.Command(kWriteEc);
    ec.WaitInputEmpty();
    ec.Data(byReg);
    ec.WaitInputEmpty();
    ec.Data(byValue);
    ec.WaitInputEmpty();
}

void CRequestCMD::ReadGeneralECReg(DWORD dwCmdPort, DWORD dwDataPort, BYTE byReg, BYTE& byValue)
{
    CEcPorts ec(m_pProxy->GetTransport(), dwCmdPort, dwDataPort);
    ec.WaitInputEmpty();
    ec.Command(kReadEc);
    ec.WaitInputEmpty();
    ec.Data(byReg);
    ec.WaitInputEmpty();
    ec.WaitOutputFull();
    ec.ReadData(byValue);
}
