#pragma once

#include "tools/zelhub/commands/ICommand.h"
#include "tools/zelhub/devices/UpdateGuards.h"

/// zelhub update IMAGE: the whole update with all guards.
class CUpdateCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "update"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;

private:
    void Plan(CHubSession& session, const CImageFile& image, const HubBefore& before) const;
    void Backup(CHubSession& session, const CImageFile& image) const;
    void Load(CHubSession& session, const CImageFile& image) const;
    void Update(CHubSession& session, const CImageFile& image, const HubBefore& before) const;
    void Current(CHubSession& session, const CImageFile& image) const;
    std::string RepeatText() const;

    std::string m_strImage;
    std::string m_strBackup;
    CArguments::Value m_cbFlash = 0;
    bool m_bDryRun = false;
    UpdateWishes m_wishes;
};
