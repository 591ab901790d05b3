#include "tools/zelhub/devices/CI2cPdSession.h"

#include "platform/ErrorCodes.h"

std::string PdAddressText(BYTE bySlaveAddr)
{
    return Hex(bySlaveAddr, 2) + " (7-bit " + Hex(bySlaveAddr / 2U, 2) + ")";
}

BYTE CheckPdAddress(unsigned long long nAddress)
{
    const std::string strRange = "An address is even and from " + Hex(kFirstPdAddress, 2) + " to " +
                                 Hex(kLastPdAddress, 2) +
                                 "; zelhub pd list shows which ones answer.";
    if (nAddress > kLastPdAddress || nAddress < kFirstPdAddress)
        throw CToolError(ExitCode::Usage, "--addr " + Hex(nAddress, 2) + " is no address on I2C",
                         strRange);
    if (nAddress % 2 != 0)
        throw CToolError(ExitCode::Usage,
                         "--addr " + Hex(nAddress, 2) +
                             " is odd: the 8-bit form is asked for, twice the 7-bit address",
                         strRange);
    return static_cast<BYTE>(nAddress);
}

CI2cPdSession::CI2cPdSession(CHubSession& hub, BYTE bySlaveAddr)
    : CPdSession(hub.Context(), hub.Responder(), hub.Finder(), std::make_unique<CGuardedPdDev>()),
      m_hub(hub),
      m_bySlaveAddr(bySlaveAddr)
{
    Dev().SetMaster(&hub.Dev());
    Dev().SetSlaveAddr(bySlaveAddr);
}

bool CI2cPdSession::IsBusStuck()
{
    return Dev().LastReadError() == kErrSemTimeout && m_hub.IsOnBus();
}

void CI2cPdSession::RefuseStuckBus()
{
    throw CToolError(Failure{ExitCode::General,
                             "the hub's bus is stuck: the transfer to " +
                                 PdAddressText(m_bySlaveAddr) + " ran into its time-out",
                             "", "the hub is on the bus; nothing was written",
                             CommandPrefix(Context().Opts()) + " reset " + m_hub.SelectorText() +
                                 "  (restarts the hub, which frees its bus)"});
}

void CI2cPdSession::RefuseSilence(const std::string& strWhy)
{
    if (!m_hub.IsStillOnBus())
        throw CToolError(ExitCode::DeviceLost, "the hub has gone while its PD controller was asked",
                         "Plug the hub in again, then type this again.");
    if (IsBusStuck())
        RefuseStuckBus();
    throw CToolError(Failure{ExitCode::NoDevice,
                             "no PD controller answers at " + PdAddressText(m_bySlaveAddr) +
                                 (strWhy.empty() ? std::string() : ": " + strWhy),
                             "", "the hub is on the bus; nothing was written",
                             CommandPrefix(Context().Opts()) + " pd list " + m_hub.SelectorText() +
                                 "  (shows the addresses that answer)"});
}

std::string CI2cPdSession::SelectorText() const
{
    return "--addr " + Hex(m_bySlaveAddr, 2) + " " + m_hub.SelectorText();
}

std::string CI2cPdSession::BenchId()
{
    const std::string& strLocation = m_hub.Chosen().strLocation;
    return m_hub.IsOnBus() ? Context().Bench().PdIdAt(strLocation, m_bySlaveAddr)
                           : Context().Bench().IdAt(strLocation);
}

std::vector<Field> CI2cPdSession::Fields(const std::vector<Field>& more) const
{
    std::vector<Field> fields = m_hub.HubFields(
        {{{"address", "Address"},
          Cell(PdAddressText(m_bySlaveAddr), static_cast<long long>(m_bySlaveAddr))},
         {{"address7", "7-bit address"},
          Cell(Hex(m_bySlaveAddr / 2U, 2), static_cast<long long>(m_bySlaveAddr / 2))}});
    fields.insert(fields.end(), more.begin(), more.end());
    return fields;
}
