#pragma once

#include "cmd/CRequestCMD.h"

/// Binds the process's command object to a transport while it lives.
class CBoundRequestObj
{
public:
    explicit CBoundRequestObj(IPropertyEx& transport)
    {
        CRequestCMD::GetRequestObj()->XH_InitProxyDriver(&transport);
    }
    CBoundRequestObj(const CBoundRequestObj&) = delete;
    CBoundRequestObj& operator=(const CBoundRequestObj&) = delete;
    ~CBoundRequestObj() { CRequestCMD::GetRequestObj()->XH_UnInitProxyDriver(); }
};
