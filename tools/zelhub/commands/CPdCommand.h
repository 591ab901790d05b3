#pragma once

#include "tools/zelhub/CImageFile.h"
#include "tools/zelhub/CPdSession.h"
#include "tools/zelhub/ICommand.h"

/// zelhub pd ...: PD controllers behind a hub's I2C bus.
class CPdCommand : public ICommand
{
public:
    const char* Name() const override { return "pd"; }
    void Declare(CArguments& root) override;
    bool Chosen() const override;
    void Run(CToolContext& context) override;

private:
    using Action = void (CPdCommand::*)(CPdSession&);
    struct Part
    {
        CArguments arguments;
        Action pfnRun; ///< null: the list, which needs no address
    };

    CArguments& Add(CArguments group, const char* pszName, const char* pszHelp, const char* pszMore,
                    Action pfnRun);
    void DeclareUpdate(CArguments group);
    void DeclareOthers(CArguments group);
    void CheckBefore(Action pfnRun);

    void List(CHubSession& hub) const;
    void Status(CPdSession& pd);
    void Version(CPdSession& pd);
    void Info(CPdSession& pd);
    void Update(CPdSession& pd);
    void Erase(CPdSession& pd);
    void Dump(CPdSession& pd);
    void Verify(CPdSession& pd);

    void Backup(CPdSession& pd, const PdStatus& status) const;
    USHORT CheckReturn(CPdSession& pd, COperationWatch& watch) const;
    void ShowUpdate(CPdSession& pd, const HubBefore& before, const std::vector<Field>& more) const;
    std::string RepeatText() const;

    std::vector<Part> m_parts;
    std::optional<CImageFile> m_image;
    std::string m_strImage;
    std::string m_strFile;
    std::string m_strBackup;
    std::string m_strBank = "running";
    CArguments::Value m_nAddress = 0;
    CArguments::Value m_cb = CGuardedPdDev::kBankSize;
    UpdateWishes m_wishes;
    bool m_bDryRun = false;
    bool m_bYes = false;
    bool m_bOverwrite = false;
};
