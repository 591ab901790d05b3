#include "tools/zelhub/output/CProgressView.h"

#include "tools/zelhub/system/HostSystem.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace
{

constexpr int kBarCells = 24;
constexpr int kLineStep = 10; ///< percent between lines where there is no bar

std::string RateText(double dRate)
{
    constexpr double kKib = 1024.0;
    if (dRate <= 0)
        return {};
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), "%.1f KiB/s", dRate / kKib);
    return text.data();
}

} // namespace

CProgressView::CProgressView(COutput& output, bool bBar, std::function<double()> seconds)
    : m_output(output), m_bBar(bBar), m_seconds(std::move(seconds))
{}

void CProgressView::Phase(const std::string& strPhase, int nPercent, unsigned long long cbPhase)
{
    m_strPhase = strPhase;
    m_nPercent = nPercent;
    m_cbPhase = cbPhase;
    m_dStart = m_seconds();
    m_nShown = nPercent;
    m_nWaitShown = -1;
    if (m_bBar)
        Draw({});
    else
        m_output.Progress(strPhase, nPercent, 0);
}

void CProgressView::Step(int nPhasePercent, int nPercent)
{
    m_nPercent = std::max(m_nPercent, nPercent);
    const double dRate = Rate(nPhasePercent);
    if (m_bBar) {
        Draw(RateText(dRate));
    } else if (m_nPercent >= m_nShown + kLineStep) {
        m_nShown = m_nPercent;
        m_output.Progress(m_strPhase, m_nPercent, dRate);
    }
}

void CProgressView::Wait(int nSeconds)
{
    if (!m_bBar || nSeconds == m_nWaitShown)
        return;
    m_nWaitShown = nSeconds;
    Draw("up to " + std::to_string(nSeconds) + " s more");
}

void CProgressView::Clear()
{
    if (!m_bDrawn)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    m_bDrawn = false;
}

void CProgressView::Draw(const std::string& strTail)
{
    const int nFull = m_nPercent * kBarCells / 100;
    std::string strLine(static_cast<size_t>(nFull), '#');
    strLine.resize(kBarCells, '.');
    std::array<char, 16> percent = {};
    std::snprintf(percent.data(), percent.size(), "%3d %% ", m_nPercent);
    strLine = "[" + strLine + "] " + percent.data() + m_strPhase;
    if (!strTail.empty())
        strLine += ", " + strTail;
    const auto nWidth = static_cast<size_t>(std::max(HostSystem::TerminalWidth() - 1, 10));
    strLine.resize(std::min(strLine.size(), nWidth));
    std::fprintf(stderr, "\r%s\033[K", strLine.c_str());
    std::fflush(stderr);
    m_bDrawn = true;
}

double CProgressView::Rate(int nPhasePercent) const
{
    const double dSeconds = m_seconds() - m_dStart;
    if (m_cbPhase == 0 || nPhasePercent <= 0 || dSeconds <= 0)
        return 0;
    return static_cast<double>(m_cbPhase) * nPhasePercent / 100.0 / dSeconds;
}
