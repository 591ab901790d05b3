#include "tools/zelhub-bench-usbip/COpenFile.h"

#include <unistd.h>

void COpenFile::Close()
{
    if (m_nDescriptor >= 0)
        ::close(m_nDescriptor);
    m_nDescriptor = -1;
}
