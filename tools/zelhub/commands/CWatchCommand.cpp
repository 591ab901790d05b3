#include "tools/zelhub/commands/CWatchCommand.h"

#include "tools/zelhub/devices/CHubSession.h"
#include "tools/zelhub/devices/HubOnBus.h"
#include "tools/zelhub/system/HostSystem.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace
{

constexpr unsigned kPollMs = 128;

using Places = std::map<DWORD, std::string>; ///< by instance number

Places PlacesNow(const Places& before)
{
    Places now;
    for (const DWORD devInst : PresentHubs()) {
        const auto it = before.find(devInst);
        now[devInst] = it != before.end() ? it->second : LocationOf(devInst);
    }
    return now;
}

std::string SecondsText(double dSeconds)
{
    char text[32] = {};
    std::snprintf(text, sizeof(text), "%.2f s", dSeconds);
    return text;
}

class CHubWatcher
{
public:
    explicit CHubWatcher(CToolContext& context) : m_context(context), m_dStart(context.Seconds()) {}

    void Look()
    {
        Places now = PlacesNow(m_places);
        for (const auto& [devInst, strLocation] : m_places)
            if (now.count(devInst) == 0)
                Tell("removed", devInst, strLocation);
        for (const auto& [devInst, strLocation] : now)
            if (m_places.count(devInst) == 0)
                Tell(m_bFirst ? "present" : "arrived", devInst, strLocation);
        m_places = std::move(now);
        m_bFirst = false;
    }

    unsigned Events() const { return m_nEvents; }
    double Elapsed() const { return m_context.Seconds() - m_dStart; }

private:
    void Tell(const char* pszWhat, DWORD devInst, const std::string& strLocation)
    {
        if (!m_bFirst)
            ++m_nEvents;
        m_context.Out().Event({{{"seconds", ""}, Cell(SecondsText(Elapsed()))},
                               {{"event", ""}, Cell(pszWhat)},
                               {{"instance", ""}, Cell::Number(devInst)},
                               {{"port", ""}, Cell(Printable(PortChain(strLocation)))},
                               {{"location", ""}, Cell(Printable(strLocation))}});
    }

    CToolContext& m_context;
    double m_dStart;
    Places m_places;
    bool m_bFirst = true;
    unsigned m_nEvents = 0;
};

/// On a bench where nothing is going to happen any more, simulated time would pass for ever.
bool IsOver(CToolContext& context)
{
    return context.OnBench() && context.Opts().strPace == "instant" &&
           !context.Bench().Machine().Time().AnythingScheduled();
}

} // namespace

void CWatchCommand::Declare(CArguments& root)
{
    CArguments& args = Made(root.Sub(
        "watch", "Show hubs coming and going, until Ctrl-C",
        "Opens nothing. With --json: one JSON line per event, the document last.\n"
        "On a bench at pace \"instant\" it ends when nothing is going to happen any more."));
    args.Number("--seconds", m_nSeconds, 1, 1'000'000,
                "end after this time (simulated on a bench)");
    args.Number("--count", m_nEvents, 1, 1'000'000, "end after so many comings and goings");
}

void CWatchCommand::Run(CToolContext& context)
{
    CHubSession session(context);
    CHubWatcher watcher(context);
    bool bLast = false;
    while (!bLast) {
        bLast = IsOver(context) || HostSystem::Interrupts() != 0;
        watcher.Look();
        bLast = bLast || (m_nEvents != 0 && watcher.Events() >= m_nEvents) ||
                (m_nSeconds != 0 && watcher.Elapsed() >= static_cast<double>(m_nSeconds));
        if (!bLast)
            context.Sleep(kPollMs);
    }
}
