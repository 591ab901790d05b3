#pragma once

#include "sim/driver/IBenchBus.h"
#include "tools/zelhub/bench/CBenchMachine.h"

/// The machine of a bench file, played by the bench driver.
class CBenchFileBus : public IBenchBus
{
public:
    /// @param strState where its state is kept; empty: nowhere. Throws CToolError
    CBenchFileBus(const std::string& strFile, std::string strState);

    CSimSystem& System() override { return *m_bench.Machine().System(); }
    void Keep(bool bFinal) override;

private:
    std::string m_strState;
    CBenchMachine m_bench;
};
