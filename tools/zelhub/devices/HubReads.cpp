#include "tools/zelhub/devices/HubReads.h"

#include "cmd/CRequestCMD.h"

#include <algorithm>

namespace
{

constexpr BYTE kPattern = 0xA5;
constexpr BYTE kOtherPattern = 0x5A;

} // namespace

bool HubReads::Checked(std::vector<BYTE>& buffer,
                       const std::function<bool(std::vector<BYTE>&)>& read)
{
    if (buffer.empty())
        return read(buffer);
    for (const BYTE byPattern : {kPattern, kOtherPattern}) {
        std::fill(buffer.begin(), buffer.end(), byPattern);
        if (!read(buffer))
            return false;
        // A short or missing transfer leaves the end alone.
        if (buffer.back() != byPattern)
            return true;
    }
    return false;
}

bool HubReads::ReadStatus(Status& status)
{
    std::vector<BYTE> buffer(status.size());
    const bool bRead = Checked(buffer, [](std::vector<BYTE>& b) {
        return CRequestCMD::GetRequestObj()->KyHub_Status(b.data(),
                                                          static_cast<USHORT>(b.size())) == 0;
    });
    std::copy(buffer.begin(), buffer.end(), status.begin());
    return bRead;
}

bool HubReads::ReadFlash(DWORD dwAddr, DWORD cb, std::vector<BYTE>& bytes)
{
    bytes.resize(cb);
    return Checked(bytes, [dwAddr](std::vector<BYTE>& b) {
        return CRequestCMD::GetRequestObj()->KyHub_ReadFlash2(dwAddr, b.data(),
                                                              static_cast<DWORD>(b.size())) == 0;
    });
}

bool HubReads::RunsFlashCode(const Status& status)
{
    return (status[15] & 0x02) != 0;
}

bool HubReads::IsDualBank(const Status& status)
{
    return (status[7] & 0x80) != 0;
}

bool HubReads::CanValidate(const Status& status)
{
    return (status[13] & 0x02) != 0;
}

USHORT HubReads::RunningVersion(const Status& status)
{
    return static_cast<USHORT>(status[10] << 8 | status[11]);
}
