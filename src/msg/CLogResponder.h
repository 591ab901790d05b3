#pragma once

#include <memory>

#include "msg/IResponder.h"

class CLogStream;

/// Appends every log line to "info.txt" beside the library's file. The file is opened and closed
/// for each line; a line that cannot be written is lost silently.
class ZEL_API CLogResponder : public IResponder
{
public:
    CLogResponder(); ///< threshold 0; opens nothing

    /// Threshold and path are copied; every object has an unopened stream of its own.
    CLogResponder(const CLogResponder& other);
    CLogResponder& operator=(const CLogResponder& other);
    ~CLogResponder() override;

    void ShowMsg(const char* pszText, ERRORLEVEL eLevel) override;
    void ShowUIMsg(const char* pszText, RESTYPE eType) override;                    ///< nothing
    void CountDown(const char* pszTitle, int nSeconds, ERRORLEVEL eLevel) override; ///< nothing
    void ShowProgress(int nPercent) override;                                       ///< nothing
    void SetMsgLevel(ERRORLEVEL eLevel) override;

    /// Writes the library file's full path as narrow text, in the system's own form.
    /// @param pBuffer 1,024 bytes @return true on success
    static bool GetSelfModulePath(char* pBuffer);

private:
    ERRORLEVEL m_eLevel = MSG_INFO;
    char m_szPath[260] = {};
    std::unique_ptr<CLogStream> m_pStream;
};
