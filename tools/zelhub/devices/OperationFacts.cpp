#include "tools/zelhub/devices/OperationFacts.h"

const char* PhaseName(Phase ePhase)
{
    switch (ePhase) {
    case Phase::Connect:
        return "connect";
    case Phase::ResetToRom:
        return "reset to ROM code";
    case Phase::Erase:
        return "erase";
    case Phase::Write:
        return "write";
    case Phase::Verify:
        return "verify";
    case Phase::ResetToFlash:
        return "reset to flash code";
    case Phase::Return:
        return "return";
    }
    return "";
}

namespace
{

std::string FlashText(const OperationFacts& facts)
{
    if (facts.bVerified)
        return "its flash holds the new image, read back and found right";
    if (facts.bWritten)
        return facts.bDualBank ? "the new image was written to its other bank but not found right; "
                                 "the old firmware is still in the bank that runs"
                               : "its flash was written but not found right; it was not restarted "
                                 "into that";
    if (facts.bDualBank && facts.bWriteBegun)
        return "its other bank is incomplete; the old firmware is still in the bank that runs";
    if (facts.bWriteBegun)
        return "its flash is incomplete; its ROM code keeps it updatable";
    if (facts.bErased)
        return "its flash is erased; its ROM code keeps it updatable";
    if (facts.bEraseBegun)
        return "its flash may be erased in part; its ROM code keeps it updatable";
    return "its flash was not touched";
}

} // namespace

std::string StateText(const OperationFacts& facts, Presence ePresence)
{
    std::string strState = "the " + facts.strDevice;
    switch (ePresence) {
    case Presence::OnBus:
        strState += " is on the bus";
        break;
    case Presence::Gone:
        strState += " is not on the bus";
        break;
    case Presence::Restarting:
        strState += " is restarting";
        break;
    }
    if (facts.bStarted && !facts.bVerified)
        return strState + "; it was told to start its flash code";
    return strState + "; " + FlashText(facts);
}
