#pragma once

#include "tools/zelhub/bench/BenchDescription.h"
#include "tools/zelhub/commands/ICommand.h"

/// zelhub bench ...: acts on a simulated machine between the other commands, and makes images.
class CBenchCommand : public ICommand
{
public:
    const char* Name() const override { return "bench"; }
    void Declare(CArguments& root) override;
    bool Chosen() const override;
    void Run(CToolContext& context) override;

private:
    void DeclareFault(CArguments& args);
    void MakeImage(CToolContext& context) const;
    void Check(CToolContext& context) const;
    void Plug(CToolContext& context, bool bPlugged) const;
    void Fault(CToolContext& context) const;
    void SmbusFault(CToolContext& context) const;
    void PowerCut(CToolContext& context) const;
    void CheckTarget(CBenchMachine& bench) const;
    CBenchMachine& Machine(CToolContext& context) const;

    std::optional<CArguments> m_image;
    std::optional<CArguments> m_check;
    std::optional<CArguments> m_unplug;
    std::optional<CArguments> m_plug;
    std::optional<CArguments> m_fault;
    std::optional<CArguments> m_cut;
    std::string m_strId;
    std::string m_strFile;
    std::string m_strVersion = "0x0100";
    std::string m_strRequest;
    std::string m_strKind; ///< empty: the usual one of the target
    std::string m_strWhen = "middle";
    CArguments::Value m_wChip = 0x6560;
    CArguments::Value m_cb = 0x10000;
    CArguments::Value m_dwSeed = 1;
    CArguments::Value m_nNth = 0;
    CArguments::Value m_nTimes = 1;
    CArguments::Value m_dwCode = 31;
    CArguments::Value m_dwOffset = 0;
    CArguments::Value m_byMask = 1;
    CArguments::Value m_dwBackMs = 0;
    CArguments::Value m_dwLateMs = 1000;
    bool m_bActs = false;
    bool m_bOverwrite = false;
};
