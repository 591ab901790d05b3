#pragma once

#include "tools/zelhub/commands/ICommand.h"
#include "tools/zelhub/devices/CPdSession.h"
#include "tools/zelhub/input/CImageFile.h"

#include <functional>
#include <list>

/// What PD controllers can do, by whatever road they are reached: a class below says how one is
/// named, listed and opened.
class CPdChipCommand : public ICommand
{
public:
    void Declare(CArguments& root) final;
    bool Chosen() const final;
    void Run(CToolContext& context) final;

protected:
    using Work = std::function<void(CPdSession&)>;

    /// The command itself, with its list.
    virtual CArguments DeclareGroup(CArguments& root) = 0;
    virtual void DeclareSelector(CArguments& args) = 0;
    virtual void CheckSelector() const = 0; ///< throws CToolError (usage)
    virtual void List(CToolContext& context) = 0;

    /// Opens the chosen one for a piece of work. Throws CToolError.
    virtual void Open(CToolContext& context, const Work& work) = 0;

    void AddList(CArguments group, const char* pszHelp, const char* pszMore);

private:
    using Action = void (CPdChipCommand::*)(CPdSession&);
    struct Part
    {
        CArguments arguments;
        Action pfnRun; ///< null: the list
    };

    CArguments& Add(CArguments group, const char* pszName, const char* pszHelp, const char* pszMore,
                    Action pfnRun);
    void DeclareUpdate(CArguments group);
    void DeclareOthers(CArguments group);
    void CheckBefore(Action pfnRun);

    void Status(CPdSession& pd);
    void Version(CPdSession& pd);
    void Info(CPdSession& pd);
    void Update(CPdSession& pd);
    void Erase(CPdSession& pd);
    void Dump(CPdSession& pd);
    void Verify(CPdSession& pd);

    void CheckBlank(CPdSession& pd) const;
    void Backup(CPdSession& pd, const PdStatus& status) const;
    USHORT CheckReturn(CPdSession& pd, COperationWatch& watch) const;
    void ShowUpdate(CPdSession& pd, const HubBefore& before, const std::vector<Field>& more) const;
    std::string RepeatText() const;

    std::list<Part> m_parts;
    std::optional<CImageFile> m_image;
    std::string m_strImage;
    std::string m_strFile;
    std::string m_strBackup;
    std::string m_strBank = "running";
    CArguments::Value m_cb = CGuardedPdDev::kBankSize;
    UpdateWishes m_wishes;
    bool m_bDryRun = false;
    bool m_bYes = false;
    bool m_bOverwrite = false;
};
