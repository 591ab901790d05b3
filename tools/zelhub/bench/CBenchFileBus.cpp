#include "tools/zelhub/bench/CBenchFileBus.h"

#include "tools/zelhub/bench/CBenchFile.h"
#include "tools/zelhub/bench/CBenchState.h"

CBenchFileBus::CBenchFileBus(const std::string& strFile, std::string strState)
    : m_strState(std::move(strState)), m_bench(CBenchFile::Load(strFile))
{
    if (!m_strState.empty())
        CBenchState(m_strState).Load(m_bench);
    m_bench.StartEvents();
}

void CBenchFileBus::Keep(bool bFinal)
{
    if (bFinal)
        m_bench.Settle();
    if (!m_strState.empty())
        CBenchState(m_strState).Save(m_bench);
}

std::unique_ptr<IBenchBus> LoadBenchBus(const std::string& strFile, const std::string& strState)
{
    return std::make_unique<CBenchFileBus>(strFile, strState);
}
