#include "msg/CLogResponder.h"

#include <cstring>
#include <string>

#include "msg/CLogStream.h"
#include "platform/ErrorCodes.h"
#include "platform/Fatal.h"
#include "platform/IHostFiles.h"
#include "platform/IProcess.h"
#include "platform/Platform.h"

namespace
{
constexpr DWORD kModulePathSize = 1024;

/// The folder of the library's file with its separator; a path without one stays whole.
std::string ModuleFolder()
{
    char szPath[kModulePathSize] = {};
    // Too long for the buffer is too long for the log's path as well.
    if (!CLogResponder::GetSelfModulePath(szPath) &&
        CurrentPlatform().Process().LastError() == kErrInsufficientBuffer)
        Fatal("log path too long");
    std::string strPath = szPath;
    const std::size_t nCut = strPath.rfind(CurrentPlatform().HostFiles().Separator());
    if (nCut != std::string::npos)
        strPath.resize(nCut + 1);
    return strPath;
}
} // namespace

CLogResponder::CLogResponder() : m_pStream(std::make_unique<CLogStream>())
{
    const std::string strPath = ModuleFolder() + "info.txt";
    if (strPath.size() >= sizeof m_szPath)
        Fatal("log path too long");
    std::memcpy(m_szPath, strPath.c_str(), strPath.size() + 1);
}

CLogResponder::CLogResponder(const CLogResponder& other)
    : IResponder(other), m_eLevel(other.m_eLevel), m_pStream(std::make_unique<CLogStream>())
{
    std::memcpy(m_szPath, other.m_szPath, sizeof m_szPath);
}

CLogResponder& CLogResponder::operator=(const CLogResponder& other)
{
    if (this == &other)
        return *this;
    m_eLevel = other.m_eLevel;
    std::memcpy(m_szPath, other.m_szPath, sizeof m_szPath);
    return *this;
}

CLogResponder::~CLogResponder() = default;

void CLogResponder::ShowMsg(const char* pszText, ERRORLEVEL eLevel)
{
    if (eLevel < m_eLevel)
        return;
    m_pStream->Open(m_szPath);
    m_pStream->Write(pszText);
    m_pStream->Close();
}

void CLogResponder::ShowUIMsg(const char* /*pszText*/, RESTYPE /*eType*/) {}

void CLogResponder::CountDown(const char* /*pszTitle*/, int /*nSeconds*/, ERRORLEVEL /*eLevel*/) {}

void CLogResponder::ShowProgress(int /*nPercent*/) {}

void CLogResponder::SetMsgLevel(ERRORLEVEL eLevel)
{
    m_eLevel = eLevel;
}

bool CLogResponder::GetSelfModulePath(char* pBuffer)
{
    // The address of an exported function may lie in the program that calls it.
    const auto* pCode = reinterpret_cast<const void*>(&ModuleFolder);
    return CurrentPlatform().Process().ModulePath(pCode, pBuffer, kModulePathSize) != 0;
}
