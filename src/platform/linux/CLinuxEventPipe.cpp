#include "platform/linux/CLinuxEventPipe.h"

#include <algorithm>
#include <climits>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/linux/CDescriptor.h"
#include "platform/linux/LinuxError.h"

namespace
{
class CEvent : public CLinuxHandleObject
{
public:
    CEvent(int nDescriptor, bool bManual) : descriptor(nDescriptor), bManualReset(bManual) {}
    const CDescriptor descriptor;
    const bool bManualReset;
};
} // namespace

HANDLE CLinuxEventPipe::MakeEvent(bool bManualReset, bool bSignalled)
{
    const int nDescriptor = ::eventfd(bSignalled ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (nDescriptor < 0) {
        FailWithErrno();
        return nullptr;
    }
    return m_handles.Add(std::make_shared<CEvent>(nDescriptor, bManualReset));
}

DWORD CLinuxEventPipe::WaitEvent(HANDLE hEvent, DWORD dwTimeoutMs)
{
    const auto pEvent = m_handles.Find<CEvent>(hEvent);
    if (pEvent == nullptr) {
        FailWith(kErrInvalidHandle);
        return kWaitFailed;
    }
    pollfd event = {pEvent->descriptor.Get(), POLLIN, 0};
    const int nLimit =
        dwTimeoutMs == kWaitForever ? -1 : static_cast<int>(std::min<DWORD>(dwTimeoutMs, INT_MAX));
    const int n = ::poll(&event, 1, nLimit);
    if (n < 0) {
        FailWithErrno();
        return kWaitFailed;
    }
    eventfd_t nCount = 0;
    if (n != 0 && !pEvent->bManualReset)
        (void)::eventfd_read(pEvent->descriptor.Get(), &nCount);
    return n == 0 ? kWaitTimeout : kWaitSignalled;
}

bool CLinuxEventPipe::CloseEvent(HANDLE hEvent)
{
    return m_handles.Close<CEvent>(hEvent) || FailWith(kErrInvalidHandle);
}
