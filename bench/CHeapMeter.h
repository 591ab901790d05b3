#pragma once

#include <cstddef>

/// Counts what operator new has handed out in this program. One thread.
class CHeapMeter
{
public:
    /// Starts to look for the peak from what is in use now.
    CHeapMeter();

    /// Bytes that were in use at most since the meter was made, over what was in use then.
    std::size_t Peak() const;

private:
    std::size_t m_nAtStart;
};
