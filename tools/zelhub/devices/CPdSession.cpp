#include "tools/zelhub/devices/CPdSession.h"

#include "api/zelhub.h"
#include "tools/zelhub/input/CImageFile.h"

#include <algorithm>

namespace
{

constexpr int kReturnSeconds = 20;
constexpr DWORD kStep = 1024; ///< bytes between two steps of the progress, at least

} // namespace

CPdSession::CPdSession(CToolContext& context, CToolResponder& responder, IDevFinder& finder,
                       std::unique_ptr<CGuardedPdDev> pDev)
    : m_context(context), m_responder(responder), m_finder(finder), m_pDev(std::move(pDev))
{
    m_finder.Attach(m_pDev.get());
    m_pFlow.reset(GetUniversalFlow(&m_finder, m_pDev.get()));
}

CPdSession::~CPdSession()
{
    m_finder.Detach(m_pDev.get());
}

std::optional<PdStatus> CPdSession::TryStatus()
{
    PdStatus status;
    m_responder.ForgetFailure();
    if (!m_pDev->MP_GetICStatus(status.bytes.data(), static_cast<BYTE>(status.bytes.size())))
        return std::nullopt;
    return status;
}

PdStatus CPdSession::Status()
{
    const std::optional<PdStatus> status = TryStatus();
    if (!status)
        RefuseSilence(m_responder.LastFailure());
    return *status;
}

bool CPdSession::Answers()
{
    return IsRoadOpen() && TryStatus().has_value();
}

bool CPdSession::WaitForReturn()
{
    return m_finder.WaitDevConnect(m_pDev.get(), kReturnSeconds);
}

bool CPdSession::ReadSure(DWORD dwAddr, std::vector<BYTE>& bytes)
{
    const DWORD cbUnit = m_pDev->ReadUnit();
    for (DWORD dw = 0; dw < bytes.size(); dw += cbUnit) {
        std::vector<BYTE> unit(std::min<size_t>(cbUnit, bytes.size() - dw));
        if (!HubReads::Checked(unit, [&](std::vector<BYTE>& b) {
                return m_pDev->ReadFlash(dwAddr + dw, b.data(), static_cast<DWORD>(b.size())) == 0;
            }))
            return false;
        std::copy(unit.begin(), unit.end(), bytes.begin() + dw);
    }
    return true;
}

std::vector<BYTE> CPdSession::ReadBank(unsigned nBank, DWORD cb, const char* pszWhat)
{
    const DWORD cbStep = std::max(kStep, m_pDev->ReadUnit());
    m_context.Progress().Phase(pszWhat, 0, cb);
    std::vector<BYTE> all;
    for (DWORD dw = 0; dw < cb; dw += cbStep) {
        m_context.StopIfInterrupted();
        m_responder.ForgetFailure();
        std::vector<BYTE> piece(std::min<DWORD>(cbStep, cb - dw));
        if (!ReadSure(nBank * CGuardedPdDev::kBankSize + dw, piece)) {
            const std::string strWhy = m_responder.LastFailure();
            const bool bAnswers = Answers();
            throw CToolError(
                Failure{bAnswers ? ExitCode::General : ExitCode::DeviceLost,
                        "flash of the " + Name() + " cannot be read at offset " + Hex(dw, 6) +
                            (strWhy.empty() ? std::string() : ": " + strWhy),
                        pszWhat,
                        "the " + Name() + (bAnswers ? " answers" : " does not answer") +
                            "; its flash was not touched",
                        std::string("Type this again; if that does not help, take ") + PlugText() +
                            " off its power."});
        }
        all.insert(all.end(), piece.begin(), piece.end());
        const int nPercent = static_cast<int>(100ULL * all.size() / cb);
        m_context.Progress().Step(nPercent, nPercent);
    }
    return all;
}

HubBefore CPdSession::Before()
{
    const PdStatus status = Status();
    HubBefore before;
    before.strDevice = Name();
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
    return {{m_context, m_responder, *m_pDev, [this] { return Answers(); }, SelectorText(),
             PlugText(), [this] { return BenchId(); }},
            strRepeat,
            cbImage,
            bDualBank};
}
