#include "UpdateHub.h"

#include <dev/CHubDev.h>
#include <find/CHubFind.h>
#include <flow/CUniversalFlow.h>
#include <memory>
#include <msg/CMsg.h>
#include <msg/IResponder.h>

#include <iostream>

namespace
{
/// Shows what the library reports: progress and errors.
class CConsole : public IResponder
{
public:
    void ShowMsg(const char* pszText, ERRORLEVEL eLevel) override
    {
        if (eLevel == MSG_ERROR)
            std::cerr << pszText;
    }
    void ShowUIMsg(const char* /*pszText*/, RESTYPE /*eType*/) override {}
    void CountDown(const char* /*pszTitle*/, int /*nSeconds*/, ERRORLEVEL /*eLevel*/) override {}
    void ShowProgress(int nPercent) override { std::cout << nPercent << " %\n"; }
    void SetMsgLevel(ERRORLEVEL /*eLevel*/) override {}
};
} // namespace

bool UpdateHub(const WString& strLocation, const std::string& sImage)
{
    CConsole console;
    XH_InitDevice(false); // starts the transport and forgets responders, so attach behind it
    CMsg::GetObj()->Attach(&console);

    const std::unique_ptr<CHubDev> pHub(GetHubDev());
    WString strPath = strLocation;
    pHub->SetTopo(strPath.data()); // only the hub at this place will match
    CHubFind finder;
    finder.Attach(pHub.get());

    const std::unique_ptr<CUniversalFlow> pFlow(GetUniversalFlow(&finder, pHub.get()));
    USHORT wImage = 0;
    USHORT wRuns = 0;
    const bool bUpdated = pFlow->InitFwFinder(sImage) && pFlow->DevReadBINVersion(wImage, 1) &&
                          pFlow->DevUpdate() &&
                          // True also stands for a hub that has not come back yet, so ask it.
                          pFlow->DevReadVersion(wRuns) && wRuns == wImage;

    finder.Detach(pHub.get());
    XH_ReleaseDevice(); // forgets the console as well
    return bUpdated;
}
