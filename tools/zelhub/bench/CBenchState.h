#pragma once

#include "tools/zelhub/bench/CBenchMachine.h"

#include <string>

/// Keeps a bench between calls: flash contents, running code, what is plugged, faults that wait.
class CBenchState
{
public:
    explicit CBenchState(std::string strPath) : m_strPath(std::move(strPath)) {}

    /// Puts a machine into the state of the file; without the file it stays as it is. Throws
    /// CToolError (usage) when the file is no state of this bench.
    void Load(CBenchMachine& bench) const;

    /// Writes the machine's state. Throws CToolError (general) when it cannot be written.
    void Save(CBenchMachine& bench) const;

private:
    std::string m_strPath;
};
