#pragma once

#include <map>
#include <memory>

#include "dev/IDev.h"

/// A pair of identifiers that a device answers to, stored as (second, first) of AddDevID.
struct __DevMatchID // NOLINT(bugprone-reserved-identifier)
{
    DWORD dwFirst;
    DWORD dwSecond;
};

/// The common device: holds the states and routes operations through the current one; keeps
/// identifiers and topology. Concrete devices implement the operations that end in Ex.
class ZEL_API CZelHubPDDev : public IDev
{
public:
    CZelHubPDDev();
    ~CZelHubPDDev() override;

    void SetDevState(CState* pState) override;
    CState* GetDevState() override;
    CState* GetCertainDevState(DEVSTATE eState) override;
    void AddDevID(DWORD dwFirst, DWORD dwSecond) override;
    void DeleteDevID(DWORD dwFirst, DWORD dwSecond) override;
    bool GetDevID(DWORD& dwFirst, DWORD& dwSecond, DWORD dwIndex) override;
    void SetTopo(WCHAR* pszLocation) override;
    void SetTopo(int nLevel, int nPort) override;
    WString GetLocationPath() override;
    int GetLevel() override;
    int GetPort() override;
    bool ForceReset2Rom() override;
    bool Reset2Rom() override;
    bool Reset2Flash() override;
    bool WriteFlash() override;
    bool CheckFlash() override;
    void JudgeCodeMode(IDev* pDev) override;
    void InitFwFinder(const std::string& strPath) override;
    bool DevReadVersion(USHORT& wVersion) override;
    bool DevErase() override;
    bool IsPresent() override;
    bool IsAbsent() override;
    void ForceRemove() override;

    virtual bool IsDualBank() = 0;    ///< the device has two flash banks
    virtual bool IsRomCode() = 0;     ///< it runs ROM (boot) code
    virtual bool IsNeedReset() = 0;   ///< Reset2RomEx goes ahead only on true
    virtual bool Reset2RomEx() = 0;   ///< sends the device to ROM code; the state then waits
    virtual bool Reset2FlashEx() = 0; ///< starts the flash code; the state then waits
    virtual bool WriteFlashEx(const std::vector<BYTE>& vFw) = 0; ///< vFw is not kept

    /// Reads as many bytes as the firmware buffer holds; a shorter vOut is grown first. After a
    /// failure vOut holds what was read before it.
    virtual bool ReadFlashEx(std::vector<BYTE>& vOut) = 0;

    /// Reads back and compares with the firmware buffer; a difference alone does not fail it.
    virtual bool CheckFlashWithCmp();
    virtual bool CheckFlashInFlash() = 0;                ///< the device's own check
    virtual bool DevReadVersionEx(USHORT& wVersion) = 0; ///< untouched after a failure
    virtual bool DevEraseEx() = 0;
    virtual bool MP_Vdcmdenable(BYTE byValue) = 0; ///< enables vendor commands

    void InitState();   ///< builds the five states; offline is current
    void UninitState(); ///< deletes them; no state is current

    void AttachDevMatchList(__DevMatchID& id);   ///< appends a copy; no duplicate check
    void UnattachDevMatchList(__DevMatchID& id); ///< removes the first equal pair, if any

protected:
    // What concrete devices share; pszFunc is the function that their log lines name.
    void LogState(const char* pszFunc);             ///< logs the current state's name
    void ResetWasSent(const char* pszFunc);         ///< the state waits from here; logs it
    void TellArrival(DWORD devInst, DWORD dwOldSS); ///< tells the state
    void LeaveBus(const char* pszFunc);             ///< restores selective suspend; tells the state
    static int WriteProgress(DWORD dwPercent);      ///< a write's percent in the whole update

    std::map<DEVSTATE, std::unique_ptr<CState>> m_mapState;
    std::vector<__DevMatchID> m_vDevID;
    int m_nLevel = 1;
    int m_nPort = 0;
    WString m_strLocation;
    DWORD m_dwFlashAddr = 0; ///< where the code area starts
    DWORD m_DevInst = 0;     ///< 0 while absent
    DWORD m_dwVid = 0;
    DWORD m_dwPid = 0;
    DWORD dwOldSSValue = 0; ///< 0: no selective suspend to restore

private:
    /// Earlier finders are kept until the device dies, so that pointers to them stay valid.
    std::vector<std::unique_ptr<IFwFinder>> m_vFwFinders;
};
