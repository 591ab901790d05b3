#pragma once

#include <memory>

#include "dev/CHubDev.h"
#include "find/CHubFind.h"
#include "msg/CLogResponder.h"
#include "transport/CPropertyEx.h"

/// The four objects of a started library; all empty before a start and after its end.
struct HubObjects
{
    std::unique_ptr<CHubDev> pDev;
    std::unique_ptr<CHubFind> pFinder;
    std::unique_ptr<CPropertyEx> pTransport;
    std::unique_ptr<CLogResponder> pLog; ///< only when logging was asked for
};

/// The process's set. Never destroyed: the platform that it works on may be gone at exit.
HubObjects& ProcessObjects();
