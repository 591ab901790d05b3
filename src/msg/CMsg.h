#pragma once

#include "msg/CMsgBase.h"

/// The process's one dispatcher.
class ZEL_API CMsg : public CMsgBase
{
public:
    static CMsg* GetObj(); ///< made at first use, destroyed at process exit

private:
    CMsg() = default;
};
