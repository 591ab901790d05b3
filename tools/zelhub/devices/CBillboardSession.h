#pragma once

#include "find/IDevFinder.h"
#include "msg/CLogResponder.h"
#include "tools/zelhub/devices/CBillboardList.h"
#include "tools/zelhub/devices/CGuardedBillboardDev.h"
#include "tools/zelhub/devices/CHubLock.h"
#include "tools/zelhub/devices/CPdSession.h"

/// The library made ready for billboard devices, which need no hub driver.
class CBillboardHost
{
public:
    explicit CBillboardHost(CToolContext& context);
    CBillboardHost(const CBillboardHost&) = delete;
    CBillboardHost& operator=(const CBillboardHost&) = delete;
    ~CBillboardHost();

    CToolContext& Context() { return m_context; }
    CToolResponder& Responder() { return m_responder; }
    IDevFinder& Finder() { return m_finder; }

    /// The billboard devices on the machine, for when none is open.
    CBillboardList List() { return CBillboardList::Make(m_responder); }

private:
    CToolContext& m_context;
    CToolResponder m_responder;
    std::optional<CLogResponder> m_libraryLog;
    IDevFinder m_finder; ///< polls the device; there is nothing else to watch
};

/// The chosen billboard device, locked.
class CBillboardSession : public CPdSession
{
public:
    CBillboardSession(CBillboardHost& host, const BillboardRow& row);

    bool IsRoadOpen() override { return UsbDeviceAt(m_row.strLocation) != 0; }
    std::vector<Field> Fields(const std::vector<Field>& more) const override;

protected:
    std::string SelectorText() const override;
    const char* PlugText() const override { return "the billboard device"; }
    std::string BenchId() override { return Context().Bench().IdAt(m_row.strLocation); }
    [[noreturn]] void RefuseSilence(const std::string& strWhy) override;

private:
    BillboardRow m_row;
    CHubLock m_lock;
};
