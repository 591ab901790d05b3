#pragma once

#include "tools/zelhub/commands/ICommand.h"

/// zelhub dump FILE: reads a hub's flash into a file.
class CDumpCommand : public CPlainCommand
{
public:
    const char* Name() const override { return "dump"; }
    void Declare(CArguments& root) override;
    void Run(CToolContext& context) override;

private:
    std::string m_strFile;
    CArguments::Value m_cb = 0;
    bool m_bOverwrite = false;
};
