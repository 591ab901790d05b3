#pragma once

#include "find/IDevFinder.h"

/// The finder of devices behind the embedded controller: has no enumeration of its own.
class ZEL_API CECFind : public IDevFinder
{
public:
    CECFind();
    ~CECFind() override;
};
