#pragma once

#include <utility>

/// An open file descriptor, closed with its owner.
class COpenFile
{
public:
    COpenFile() = default;
    explicit COpenFile(int nDescriptor) : m_nDescriptor(nDescriptor) {}
    COpenFile(COpenFile&& other) noexcept : m_nDescriptor(std::exchange(other.m_nDescriptor, -1)) {}
    COpenFile& operator=(COpenFile&& other) noexcept
    {
        std::swap(m_nDescriptor, other.m_nDescriptor);
        return *this;
    }
    COpenFile(const COpenFile&) = delete;
    COpenFile& operator=(const COpenFile&) = delete;
    ~COpenFile() { Close(); }

    void Close();
    bool IsOpen() const { return m_nDescriptor >= 0; }
    int Get() const { return m_nDescriptor; } ///< -1: none

private:
    int m_nDescriptor = -1;
};
