#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <utility>

/// Thrown through the library to whoever drives the machine: nothing that is scheduled can end
/// the wait that goes on, or the test's poll limit was passed.
class CWouldBlockForever : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Simulated time in microseconds, and what is going to happen when. Time passes only by
/// Advance and AdvanceTo; what falls due runs then, in order of its time, at that time.
class CSimClock
{
public:
    using Micros = std::uint64_t;

    Micros Now() const { return m_now; }

    /// Lets time pass. What runs may schedule more, also within the span.
    void Advance(Micros span) { AdvanceTo(m_now + span); }

    void AdvanceTo(Micros until)
    {
        while (!m_events.empty() && m_events.begin()->first <= until) {
            auto node = m_events.extract(m_events.begin());
            if (node.key() > m_now)
                Pass(node.key());
            node.mapped()();
        }
        if (until > m_now)
            Pass(until);
    }

    void Schedule(Micros delay, std::function<void()> what)
    {
        m_events.emplace(m_now + delay, std::move(what));
    }

    bool AnythingScheduled() const { return !m_events.empty(); }
    Micros NextEvent() const { return m_events.begin()->first; }
    void ForgetEvents() { m_events.clear(); }

    /// Called with each span of time that passes, to show it at a person's pace.
    void SetPacer(std::function<void(Micros)> pacer) { m_pacer = std::move(pacer); }

private:
    void Pass(Micros until)
    {
        if (m_pacer)
            m_pacer(until - m_now);
        m_now = until;
    }

    Micros m_now = 0;
    std::multimap<Micros, std::function<void()>> m_events;
    std::function<void(Micros)> m_pacer;
};
