#include "tools/zelhub-bench-usbip/CDescriptor.h"

#include <unistd.h>

void CDescriptor::Close()
{
    if (m_nDescriptor >= 0)
        ::close(m_nDescriptor);
    m_nDescriptor = -1;
}
