#pragma once

#include <vector>

#include "platform/Export.h"
#include "platform/IDeviceTree.h"

/// Reads identity and topology of device nodes. Every query overwrites the lists of the one
/// before; one thread at a time. Unreadable nodes answer with nothing and false.
class ZEL_API CDevProperty
{
public:
    CDevProperty(const CDevProperty&) = delete;
    CDevProperty& operator=(const CDevProperty&) = delete;
    virtual ~CDevProperty();

    static CDevProperty* GetObj();

    /// The raw property: every path followed by its zero, then the list's closing zero.
    WString GetLocationPath(DWORD devInst);

    /// True when the first entry of the list read last holds exactly nLevel "#USB(".
    bool IsLevelNum(int nLevel);

    /// @param strPortTail "#USB(", decimal port, ")" and one zero character; ports of 10 and
    ///                    above never match
    bool IsLevelAndPort(int nLevel, DWORD devInst, const WString& strPortTail);

    bool IsU3Hub(DWORD devInst); ///< true: the SuperSpeed half of a hub
    bool HasHardwareId(DWORD devInst, const WString& strText); ///< case-sensitive substring

private:
    CDevProperty();
    void ReadList(DWORD devInst, const DEVPROP_KEY& key);

    std::vector<WString> m_vPaths; ///< each entry keeps its terminating zero
    WString m_strBuffer;
};
