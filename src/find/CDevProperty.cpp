#include "find/CDevProperty.h"

#include <algorithm>

#include "msg/CMsg.h"
#include "platform/Fatal.h"
#include "platform/Platform.h"

namespace
{
constexpr size_t kBufferChars = 1024;
constexpr DWORD kBufferBytes =
    1024;                        // Deliberate: the seam counts bytes, so half the buffer is used
constexpr size_t kTailChars = 8; // "#USB(n)" and its zero

/// The text of a list's entry as the log shows it: every character's low byte.
std::string LowBytes(const WString& strText)
{
    std::string strLow;
    for (const WCHAR ch : strText)
        strLow.push_back(static_cast<char>(ch & 0xFF));
    return strLow;
}

bool EndsWithTail(const WString& strPath, const WString& strPortTail)
{
    if (strPath.size() < kTailChars)
        Fatal("invalid string position");
    return strPath.compare(strPath.size() - kTailChars, kTailChars, strPortTail) == 0;
}

bool AnyContains(const std::vector<WString>& vEntries, const WString& strText)
{
    return std::any_of(vEntries.begin(), vEntries.end(), [&](const WString& strEntry) {
        return strEntry.find(strText) != WString::npos;
    });
}
} // namespace

CDevProperty::CDevProperty() = default;
CDevProperty::~CDevProperty() = default;

CDevProperty* CDevProperty::GetObj()
{
    static CDevProperty s_obj;
    return &s_obj;
}

void CDevProperty::ReadList(DWORD devInst, const DEVPROP_KEY& key)
{
    m_strBuffer.assign(kBufferChars, WCHAR{0});
    DWORD dwType = kDevPropString;
    DWORD cb = kBufferBytes;
    // The result is not looked at: what could not be read shows as an empty list.
    (void)CurrentPlatform().DeviceTree().GetNodeProperty(
        devInst, &key, &dwType, reinterpret_cast<BYTE*>(m_strBuffer.data()), &cb);
    m_strBuffer.resize(cb); // Deliberate: bytes taken as characters, the second half is zeros

    m_vPaths.clear();
    size_t nStart = 0;
    while (nStart < m_strBuffer.size() && m_strBuffer[nStart] != 0) {
        const size_t nEnd = m_strBuffer.find(WCHAR{0}, nStart);
        if (nEnd == WString::npos)
            break; // an unterminated tail is no entry
        m_vPaths.push_back(m_strBuffer.substr(nStart, nEnd + 1 - nStart));
        nStart = nEnd + 1;
    }
}

WString CDevProperty::GetLocationPath(DWORD devInst)
{
    ReadList(devInst, kKeyLocationPaths);
    return m_strBuffer;
}

bool CDevProperty::IsLevelNum(int nLevel)
{
    if (m_vPaths.empty())
        return false;
    const WString& strFirst = m_vPaths.front();
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CDevProperty::IsLevelNum",
                            "Current device location path is%s\n", LowBytes(strFirst).c_str());

    static const WString kTier = WTEXT("#USB(");
    int nTiers = 0;
    for (size_t n = strFirst.find(kTier); n != WString::npos;
         n = strFirst.find(kTier, n + kTier.size()))
        ++nTiers;
    return nTiers == nLevel;
}

bool CDevProperty::IsLevelAndPort(int nLevel, DWORD devInst, const WString& strPortTail)
{
    ReadList(devInst, kKeyLocationPaths);
    if (!IsLevelNum(nLevel))
        return false;
    if (nLevel == 1)
        return true; // Deliberate: on a root hub's port any port will do
    return std::any_of(m_vPaths.begin(), m_vPaths.end(),
                       [&](const WString& strPath) { return EndsWithTail(strPath, strPortTail); });
}

bool CDevProperty::IsU3Hub(DWORD devInst)
{
    ReadList(devInst, kKeyCompatibleIds);
    return AnyContains(m_vPaths, WTEXT("USB30_HUB"));
}

bool CDevProperty::HasHardwareId(DWORD devInst, const WString& strText)
{
    ReadList(devInst, kKeyHardwareIds);
    return AnyContains(m_vPaths, strText);
}
