#pragma once

#include <string>

#include "platform/Export.h"
#include "platform/Types.h"

/// One whole firmware operation on one device. Operations run to their end on the caller's
/// thread and block in the finder's waits; bool results give true for success. The defaults
/// refuse.
class ZEL_API IMpFlow
{
public:
    IMpFlow();
    IMpFlow(const IMpFlow&);
    IMpFlow& operator=(const IMpFlow&);
    virtual ~IMpFlow();

    virtual bool DevUpdate();                      ///< writes the loaded image and restarts
    virtual bool DevReadVersion(USHORT& wVersion); ///< the version that the device runs
    virtual bool DevErase();
    virtual bool InitFwFinder(const std::string& strPath); ///< loads the image into the device

    /// A version inside the loaded image: 1 = the one that a running device reports. After a
    /// failure wVersion is as it was.
    virtual bool DevReadBINVersion(USHORT& wVersion, int nWhich);
};
