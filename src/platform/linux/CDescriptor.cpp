#include "platform/linux/CDescriptor.h"

#include <unistd.h>
#include <utility>

CDescriptor& CDescriptor::operator=(CDescriptor&& other) noexcept
{
    std::swap(m_nDescriptor, other.m_nDescriptor);
    return *this;
}

CDescriptor::~CDescriptor()
{
    if (m_nDescriptor >= 0)
        ::close(m_nDescriptor);
}
