#pragma once

#include <ctime>

/// Processor time since it was made, which other programs on the machine disturb little.
class CProcessorTime
{
public:
    double Seconds() const { return static_cast<double>(std::clock() - m_start) / CLOCKS_PER_SEC; }

private:
    std::clock_t m_start = std::clock();
};
