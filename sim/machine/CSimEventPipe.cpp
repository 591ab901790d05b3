#include "sim/machine/CSimEventPipe.h"

#include "sim/machine/CSimMachine.h"
#include "sim/machine/SimText.h"
#include "wire/DriverNames.h"

namespace
{
constexpr DWORD kErrPipeBusy = 231;

class CEventObject : public CSimHandleObject
{
public:
    explicit CEventObject(std::shared_ptr<SimEvent> pGiven) : pEvent(std::move(pGiven)) {}
    std::shared_ptr<SimEvent> pEvent;
};

class CPipeObject : public CSimHandleObject
{};

bool IsCompanionPipe(const WCHAR* pszName)
{
    return SimText::SameNoCase(SimText::Of(pszName), SS_PIPE_NAME);
}

bool Take(SimEvent& event)
{
    const bool bSignalled = event.bSignalled;
    if (!event.bManualReset)
        event.bSignalled = false;
    return bSignalled;
}
} // namespace

HANDLE CSimEventPipe::OpenNamedEvent(DWORD /*dwAccess*/, const WCHAR* pszName)
{
    if (!m_machine.Enter("IEventPipe::OpenNamedEvent"))
        return nullptr;
    const WString strName = SimText::Of(pszName);
    auto pEvent = m_machine.Events().FindNamed(strName);
    if (pEvent == nullptr)
        return m_machine.FailNull(kErrFileNotFound);
    return m_machine.Handles().Add("event", SimText::Narrow(strName),
                                   std::make_shared<CEventObject>(std::move(pEvent)));
}

HANDLE CSimEventPipe::MakeEvent(bool bManualReset, bool bSignalled)
{
    if (!m_machine.Enter("IEventPipe::MakeEvent"))
        return nullptr;
    auto pEvent = std::make_shared<SimEvent>(SimEvent{bManualReset, bSignalled});
    return m_machine.Handles().Add("event", "unnamed",
                                   std::make_shared<CEventObject>(std::move(pEvent)));
}

DWORD CSimEventPipe::WaitEvent(HANDLE hEvent, DWORD dwTimeoutMs)
{
    if (!m_machine.Enter("IEventPipe::WaitEvent"))
        return kWaitFailed;
    const auto pObject = m_machine.Handles().Find<CEventObject>(hEvent);
    if (pObject == nullptr) {
        m_machine.Fail(kErrInvalidHandle);
        return kWaitFailed;
    }
    CSimClock& clock = m_machine.Time();
    const CSimClock::Micros end = clock.Now() + CSimClock::Micros{dwTimeoutMs} * 1000;
    while (!Take(*pObject->pEvent)) {
        const bool bEndless = dwTimeoutMs == kWaitForever;
        if (bEndless && !clock.AnythingScheduled())
            throw CWouldBlockForever("nothing scheduled can signal the event that is waited for");
        if (!bEndless && (!clock.AnythingScheduled() || clock.NextEvent() > end)) {
            clock.AdvanceTo(end);
            return kWaitTimeout;
        }
        clock.AdvanceTo(clock.NextEvent());
        m_machine.Polls().CheckDeadline();
    }
    return kWaitSignalled;
}

bool CSimEventPipe::CloseEvent(HANDLE hEvent)
{
    if (!m_machine.Enter("IEventPipe::CloseEvent"))
        return false;
    return m_machine.Handles().Close<CEventObject>(hEvent) || m_machine.Fail(kErrInvalidHandle);
}

bool CSimEventPipe::WaitPipe(const WCHAR* pszName, DWORD dwTimeoutMs)
{
    if (!m_machine.Enter("IEventPipe::WaitPipe"))
        return false;
    if (!IsCompanionPipe(pszName) || !m_machine.Companion().PipePresent())
        return m_machine.Fail(kErrFileNotFound);
    if (!m_machine.Companion().PipeBusy())
        return true;
    m_machine.Time().Advance(CSimClock::Micros{dwTimeoutMs == 0 ? 50 : dwTimeoutMs} * 1000);
    return m_machine.Fail(kErrSemTimeout);
}

HANDLE CSimEventPipe::OpenPipe(const WCHAR* pszName, DWORD /*dwAccess*/)
{
    if (!m_machine.Enter("IEventPipe::OpenPipe"))
        return InvalidHandle();
    if (!IsCompanionPipe(pszName) || !m_machine.Companion().PipePresent())
        return m_machine.FailInvalid(kErrFileNotFound);
    if (m_machine.Companion().PipeBusy())
        return m_machine.FailInvalid(kErrPipeBusy);
    return m_machine.Handles().Add("pipe", SimText::Narrow(SimText::Of(pszName)),
                                   std::make_shared<CPipeObject>());
}

bool CSimEventPipe::WritePipe(HANDLE hPipe, const void* pData, DWORD cb, DWORD* pcbDone)
{
    if (pcbDone != nullptr)
        *pcbDone = 0;
    if (!m_machine.Enter("IEventPipe::WritePipe"))
        return false;
    if (m_machine.Handles().Find<CPipeObject>(hPipe) == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    m_machine.Companion().Receive(static_cast<const BYTE*>(pData), cb);
    if (pcbDone != nullptr)
        *pcbDone = cb;
    return true;
}

bool CSimEventPipe::ClosePipe(HANDLE hPipe)
{
    if (!m_machine.Enter("IEventPipe::ClosePipe"))
        return false;
    return m_machine.Handles().Close<CPipeObject>(hPipe) || m_machine.Fail(kErrInvalidHandle);
}
