#include "flow/CHubFwFinder.h"

#include "msg/CMsg.h"
#include "platform/IHostFiles.h"
#include "platform/Platform.h"

namespace
{
constexpr DWORD kReadBlock = 65536;

/// Appends the rest of an open file. @return false when reading failed on the way
bool ReadToEnd(HANDLE hFile, std::vector<BYTE>& vBytes)
{
    IHostFiles& files = CurrentPlatform().HostFiles();
    std::size_t nRead = 0;
    for (;;) {
        vBytes.resize(nRead + kReadBlock);
        DWORD cbDone = 0;
        const bool bDone = files.Read(hFile, vBytes.data() + nRead, kReadBlock, &cbDone);
        nRead += cbDone;
        if (!bDone || cbDone == 0) {
            vBytes.resize(nRead);
            return bDone;
        }
    }
}

/// @return every byte of the file; none where it cannot be opened or read to its end, so that
/// half an image never passes for a whole one
std::vector<BYTE> FileBytes(const std::string& strPath)
{
    IHostFiles& files = CurrentPlatform().HostFiles();
    const HANDLE hFile = files.OpenForReading(strPath.c_str());
    if (hFile == InvalidHandle())
        return {};
    std::vector<BYTE> vBytes;
    if (!ReadToEnd(hFile, vBytes))
        vBytes.clear();
    files.Close(hFile);
    return vBytes;
}
} // namespace

CHubFwFinder::CHubFwFinder(const std::string& strPath) : m_strPath(strPath) {}

CHubFwFinder::~CHubFwFinder() = default;

bool CHubFwFinder::LoadFwbin2Buf(std::vector<BYTE>& vFw)
{
    constexpr const char* kFunc = "CHubFwFinder::LoadFwbin2Buf";
    std::vector<BYTE> vBytes = FileBytes(m_strPath);
    CMsg::GetObj()->ShowMsg(MSG_INFO, kFunc, "Current fw path is %s.\n", m_strPath.c_str());
    if (vBytes.empty()) {
        CMsg::GetObj()->ShowMsg(MSG_FAIL, kFunc, "load fw to buf return failed.\n");
        return false;
    }
    vBytes.shrink_to_fit();
    vFw = std::move(vBytes);
    CMsg::GetObj()->ShowMsg(MSG_INFO, kFunc, "load fw to buf return success.\n");
    return true;
}
