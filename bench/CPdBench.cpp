#include "bench/CPdBench.h"

#include "flow/CUniversalFlow.h"

namespace
{
constexpr DWORD kHubImage = 0x10000;
constexpr int kConnectSeconds = 10;
} // namespace

CPdBench::CPdBench() : m_bench(kHubImage), m_pd(m_bench.Machine().Time())
{
    m_pd.LoadImage(OldImage());
    m_bench.Hub().AttachI2cTarget(kAddress, &m_pd);
    m_device.SetMaster(&m_bench.Device());
    m_device.SetSlaveAddr(kAddress);
    m_bench.Finder().Attach(&m_device);
    (void)m_bench.Finder().WaitDevConnect(&m_bench.Device(), kConnectSeconds);
}

CPdBench::~CPdBench()
{
    m_bench.Finder().Detach(&m_device);
}

bool CPdBench::Update(const std::vector<BYTE>& image)
{
    m_device.SetFwBuf(image);
    return CUniversalFlow(&m_bench.Finder(), &m_device).DevUpdate() && m_pd.Runs(image);
}

std::vector<BYTE> CPdBench::OldImage()
{
    return CBenchMachine::Image(kImageSize, 0x0100);
}

std::vector<BYTE> CPdBench::NewImage()
{
    return CBenchMachine::Image(kImageSize, 0x0200);
}
