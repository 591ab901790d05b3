#pragma once

#include <utility>

/// An open file descriptor, closed with its owner.
class CDescriptor
{
public:
    CDescriptor() = default;
    explicit CDescriptor(int nDescriptor) : m_nDescriptor(nDescriptor) {}
    CDescriptor(CDescriptor&& other) noexcept
        : m_nDescriptor(std::exchange(other.m_nDescriptor, -1))
    {}
    CDescriptor& operator=(CDescriptor&& other) noexcept
    {
        std::swap(m_nDescriptor, other.m_nDescriptor);
        return *this;
    }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    ~CDescriptor() { Close(); }

    void Close();
    bool IsOpen() const { return m_nDescriptor >= 0; }
    int Get() const { return m_nDescriptor; } ///< -1: none

private:
    int m_nDescriptor = -1;
};
