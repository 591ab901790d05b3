#include "tools/zelhub/CPdSession.h"

#include "api/zelhub.h"
#include "tools/zelhub/CImageFile.h"

#include <algorithm>

namespace
{

constexpr int kReturnSeconds = 20;
constexpr DWORD kStep = 1024; ///< bytes between two steps of the progress
constexpr DWORD kUnit = 31;

} // namespace

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

CPdSession::CPdSession(CHubSession& hub, BYTE bySlaveAddr) : m_hub(hub), m_bySlaveAddr(bySlaveAddr)
{
    m_dev.SetMaster(&hub.Dev());
    m_dev.SetSlaveAddr(bySlaveAddr);
    hub.Finder().Attach(&m_dev);
    m_pFlow.reset(GetUniversalFlow(&hub.Finder(), &m_dev));
}

CPdSession::~CPdSession()
{
    m_hub.Finder().Detach(&m_dev);
}

std::optional<PdStatus> CPdSession::TryStatus()
{
    PdStatus status;
    m_hub.Responder().ForgetFailure();
    if (!m_dev.MP_GetICStatus(status.bytes.data(), static_cast<BYTE>(status.bytes.size())))
        return std::nullopt;
    return status;
}

PdStatus CPdSession::Status()
{
    const std::optional<PdStatus> status = TryStatus();
    if (!status)
        RefuseSilence();
    return *status;
}

void CPdSession::RefuseSilence()
{
    const std::string strWhy = m_hub.Responder().LastFailure();
    if (!m_hub.IsOnBus())
        throw CToolError(ExitCode::DeviceLost, "the hub has gone while its PD controller was asked",
                         "Plug the hub in again, then type this again.");
    throw CToolError(Failure{ExitCode::NoDevice,
                             "no PD controller answers at " + PdAddressText(m_bySlaveAddr) +
                                 " behind the hub" +
                                 (strWhy.empty() ? std::string() : ": " + strWhy),
                             "", "the hub is on the bus; nothing was written",
                             CommandPrefix(Context().Opts()) + " pd list " + m_hub.SelectorText() +
                                 "  (shows the addresses that answer)"});
}

bool CPdSession::Answers()
{
    return m_hub.IsOnBus() && TryStatus().has_value();
}

bool CPdSession::WaitForReturn()
{
    return m_hub.Finder().WaitDevConnect(&m_dev, kReturnSeconds);
}

bool CPdSession::ReadSure(DWORD dwAddr, std::vector<BYTE>& bytes)
{
    for (DWORD dw = 0; dw < bytes.size(); dw += kUnit) {
        std::vector<BYTE> unit(std::min<size_t>(kUnit, bytes.size() - dw));
        if (!HubReads::Checked(unit, [&](std::vector<BYTE>& b) {
                return m_dev.ReadFlash(dwAddr + dw, b.data(), static_cast<DWORD>(b.size())) == 0;
            }))
            return false;
        std::copy(unit.begin(), unit.end(), bytes.begin() + dw);
    }
    return true;
}

std::vector<BYTE> CPdSession::ReadBank(unsigned nBank, DWORD cb, const char* pszWhat)
{
    Context().Progress().Phase(pszWhat, 0, cb);
    std::vector<BYTE> all;
    for (DWORD dw = 0; dw < cb; dw += kStep) {
        Context().StopIfInterrupted();
        m_hub.Responder().ForgetFailure();
        std::vector<BYTE> piece(std::min<DWORD>(kStep, cb - dw));
        if (!ReadSure(nBank * CGuardedPdDev::kBankSize + dw, piece)) {
            const std::string strWhy = m_hub.Responder().LastFailure();
            const bool bAnswers = Answers();
            throw CToolError(Failure{
                bAnswers ? ExitCode::General : ExitCode::DeviceLost,
                "flash of the PD controller cannot be read at offset " + Hex(dw, 6) +
                    (strWhy.empty() ? std::string() : ": " + strWhy),
                pszWhat,
                std::string("the PD controller ") + (bAnswers ? "answers" : "does not answer") +
                    "; its flash was not touched",
                "Type this again; if that does not help, take the hub off its power."});
        }
        all.insert(all.end(), piece.begin(), piece.end());
        const int nPercent = static_cast<int>(100ULL * all.size() / cb);
        Context().Progress().Step(nPercent, nPercent);
    }
    return all;
}

HubBefore CPdSession::Before()
{
    const PdStatus status = Status();
    HubBefore before;
    before.strDevice = m_dev.Facts().strDevice;
    before.bRunsFlash = status.RunsFlash();
    before.bDualBank = true;
    before.wVersion = status.Version();
    std::vector<unsigned> banks = {status.RunningBank()};
    if (!status.RunsFlash())
        banks = {0, 1};
    for (const unsigned nBank : banks) {
        std::vector<BYTE> bytes(2);
        if (!ReadSure(nBank * CGuardedPdDev::kBankSize + CImageFile::kChipIdAt, bytes))
            continue;
        const USHORT wChipId = WordAt(bytes, 0);
        if (!before.chipId && wChipId != 0 && wChipId != 0xFFFF)
            before.chipId = wChipId;
    }
    return before;
}

COperationWatch CPdSession::Watch(const std::string& strRepeat, DWORD cbImage, bool bDualBank)
{
    return {m_hub,
            m_dev,
            [this] { return Answers(); },
            strRepeat + " --addr " + Hex(m_bySlaveAddr, 2),
            cbImage,
            bDualBank};
}

std::vector<Field> CPdSession::Fields(const std::vector<Field>& more) const
{
    std::vector<Field> fields = m_hub.HubFields(
        {{{"address", "Address"},
          Cell(PdAddressText(m_bySlaveAddr), static_cast<long long>(m_bySlaveAddr))},
         {{"address7", "7-bit address"},
          Cell(Hex(m_bySlaveAddr / 2U, 2), static_cast<long long>(m_bySlaveAddr / 2))}});
    fields.insert(fields.end(), more.begin(), more.end());
    return fields;
}
