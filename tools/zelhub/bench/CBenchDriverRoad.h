#pragma once

#include "sim/driver/CBenchRoad.h"
#include "tools/zelhub/bench/CBenchMachine.h"

/// A bench behind the bench driver instead of inside the tool: the services of this system, with
/// the bench's device tree. The driver keeps the bench's state while the library has it open.
class CBenchDriverRoad
{
public:
    /// Throws CToolError (usage) on a system that loads no drivers.
    /// @param bench shows the tree; @param strState may be empty
    CBenchDriverRoad(CBenchMachine& bench, const std::string& strFile, const std::string& strState);

    Platform& Services() { return m_road; }

    /// Gives the bench to the driver, which the library has started. Throws CToolError.
    void Begin();

    /// Has the driver keep the state, if it is to be kept. Throws CToolError (general).
    void Keep(bool bFinal);

    /// The same for the last time, before the library stops the driver. Throws nothing: a failure
    /// is thrown by the next Keep().
    void End();

private:
    std::string m_strFile;
    std::string m_strState;
    CBenchRoad m_road;
    bool m_bBegun = false;
    bool m_bLost = false;
};
