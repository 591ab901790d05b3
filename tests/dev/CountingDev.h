#pragma once

#include "dev/CZelHubPDDev.h"

#include <string>
#include <vector>

/// A device that writes down which of its low-level operations were called, and answers as set.
class CCountingDev : public CZelHubPDDev
{
public:
    bool IsDualBank() override { return m_bDualBank; }
    bool IsRomCode() override { return m_bRomCode; }
    bool IsNeedReset() override { return true; }
    bool Reset2RomEx() override { return Called("Reset2RomEx"); }
    bool Reset2FlashEx() override { return Called("Reset2FlashEx"); }
    bool WriteFlashEx(const std::vector<BYTE>& vFw) override
    {
        m_vWritten = vFw;
        return Called("WriteFlashEx");
    }
    bool ReadFlashEx(std::vector<BYTE>& vOut) override
    {
        m_cbAsked = vOut.size();
        vOut = m_vFlash;
        return Called("ReadFlashEx");
    }
    bool CheckFlashWithCmp() override
    {
        return m_bOwnCompare ? CZelHubPDDev::CheckFlashWithCmp() : Called("CheckFlashWithCmp");
    }
    bool CheckFlashInFlash() override { return Called("CheckFlashInFlash"); }
    bool DevReadVersionEx(USHORT& wVersion) override
    {
        wVersion = 0x0203;
        return Called("DevReadVersionEx");
    }
    bool DevEraseEx() override { return Called("DevEraseEx"); }
    bool MP_Vdcmdenable(BYTE) override { return true; }

    bool Called(const char* pszWhat)
    {
        m_calls.emplace_back(pszWhat);
        return m_bAnswer;
    }

    std::vector<std::string> m_calls;
    std::vector<BYTE> m_vWritten;
    std::vector<BYTE> m_vFlash;
    std::size_t m_cbAsked = 0;
    bool m_bAnswer = true;
    bool m_bDualBank = false;
    bool m_bRomCode = false;
    bool m_bOwnCompare = false;
};
