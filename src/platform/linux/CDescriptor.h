#pragma once

/// Owns a file descriptor; -1 is none.
class CDescriptor
{
public:
    explicit CDescriptor(int nDescriptor = -1) : m_nDescriptor(nDescriptor) {}
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    CDescriptor(CDescriptor&& other) noexcept : m_nDescriptor(other.m_nDescriptor)
    {
        other.m_nDescriptor = -1;
    }
    CDescriptor& operator=(CDescriptor&& other) noexcept;
    ~CDescriptor();

    bool IsOpen() const { return m_nDescriptor >= 0; }
    int Get() const { return m_nDescriptor; }

private:
    int m_nDescriptor;
};
