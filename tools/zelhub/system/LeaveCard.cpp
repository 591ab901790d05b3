#include "tools/zelhub/system/LeaveCard.h"

#include "tools/zelhub/system/HostSystem.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace
{

// The card is kept twice: whoever leaves reads the one that is not being written.
LeaveCard g_cards[2] = {{{}, {}, 1}, {{}, {}, 1}};
std::atomic<int> g_nCard{0};

void Fill(LeaveText& text, const std::string& str)
{
    text.cb = std::min(str.size(), sizeof text.text);
    std::memcpy(text.text, str.data(), text.cb);
}

} // namespace

const LeaveCard& CurrentLeaveCard()
{
    return g_cards[g_nCard.load()];
}

void HostSystem::SetLeaveCard(const std::string& strError, const std::string& strData,
                              int nExitCode)
{
    const int nNext = 1 - g_nCard.load();
    LeaveCard& card = g_cards[nNext];
    Fill(card.error, strError);
    Fill(card.data, strData);
    card.nExitCode = nExitCode;
    g_nCard.store(nNext);
}
