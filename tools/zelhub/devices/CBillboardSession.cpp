#include "tools/zelhub/devices/CBillboardSession.h"

#include "api/zelhub.h"
#include "api/zelhub_bench.h"
#include "msg/CMsg.h"

CBillboardHost::CBillboardHost(CToolContext& context) : m_context(context), m_responder(context)
{
    if (context.OnBench())
        ZelSetPlatform(&context.Bench().Machine());
    CMsg::GetObj()->Attach(&m_responder);
    if (context.Opts().bLibraryLog) {
        m_libraryLog.emplace();
        m_libraryLog->SetMsgLevel(MSG_INFO);
        CMsg::GetObj()->Attach(&*m_libraryLog);
    }
}

CBillboardHost::~CBillboardHost()
{
    m_context.Progress().Clear();
    XH_UnInitDevice(); // forgets the responders
    ZelSetPlatform(nullptr);
}

CBillboardSession::CBillboardSession(CBillboardHost& host, const BillboardRow& row)
    : CPdSession(host.Context(), host.Responder(), host.Finder(),
                 std::make_unique<CGuardedBillboardDev>(row.strLocation, HardwareIdOf(row.strIds))),
      m_row(row),
      m_lock(row.strLocation, host.Context().Opts().strBench, "the billboard device at ")
{}

void CBillboardSession::RefuseSilence(const std::string& strWhy)
{
    const bool bThere = Context().IsThereStill([this] { return IsRoadOpen(); });
    throw CToolError(bThere ? ExitCode::General : ExitCode::DeviceLost,
                     std::string("the billboard device ") +
                         (bThere ? "does not answer a status" : "has gone") +
                         (strWhy.empty() ? std::string() : ": " + strWhy),
                     "Plug it in again, then type this again.");
}

std::string CBillboardSession::SelectorText() const
{
    return "--device " + ShellWord("path:" + m_row.strLocation);
}

std::vector<Field> CBillboardSession::Fields(const std::vector<Field>& more) const
{
    std::vector<Field> fields = {{{"device", "Device"}, Cell(Printable(m_row.strLocation))},
                                 {{"instance", "Instance"}, Cell::Number(m_row.dwInstance)},
                                 {{"ids", "ID"}, Cell(m_row.strIds)}};
    fields.insert(fields.end(), more.begin(), more.end());
    return fields;
}
