#include "tools/zelhub/output/StateCard.h"

std::string StateCard(const Failure& failure)
{
    std::string strCard = "error: " + failure.strWhat;
    if (!failure.strPhase.empty())
        strCard += "\nphase: " + failure.strPhase;
    if (!failure.strState.empty())
        strCard += "\nstate: " + failure.strState;
    if (!failure.strNext.empty())
        strCard += "\nnext:  " + failure.strNext;
    return strCard;
}
