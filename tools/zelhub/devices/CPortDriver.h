#pragma once

#include "tools/zelhub/context/CToolResponder.h"

#include <memory>

class CLogResponder;

/// The port driver, started for one command. Needs no hub driver. The driver stays open until
/// the end; where it did not start, nothing may be transferred: the library would wait for ever.
class CPortDriver
{
public:
    /// Starts it on the bench or on the real machine. Throws CToolError (no access) that says
    /// what is missing.
    explicit CPortDriver(CToolContext& context);
    CPortDriver(const CPortDriver&) = delete;
    CPortDriver& operator=(const CPortDriver&) = delete;
    ~CPortDriver();

    CToolContext& Context() { return m_context; }
    CToolResponder& Responder() { return m_responder; }

    /// One access, by 1 or 4 bytes. Throws CToolError (no access) when the driver refuses it,
    /// which its result alone would not tell.
    DWORD Read(DWORD dwPort, unsigned cb = 1);
    void Write(DWORD dwPort, DWORD dwValue, unsigned cb = 1);

private:
    void Start();
    void Stop();
    [[noreturn]] void RefuseStart();
    void CheckAccess(unsigned nFailed, DWORD dwPort);

    CToolContext& m_context;
    CToolResponder m_responder;
    std::unique_ptr<CLogResponder> m_pLog; ///< of --library-log
    bool m_bStarted = false;
};
