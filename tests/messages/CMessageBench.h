#pragma once

#include <string>

#include "platform/ErrorCodes.h"
#include "sim/machine/CSimMachine.h"
#include "sim/models/CSimHub.h"
#include "support/CMessageLog.h"
#include "transport/CPropertyEx.h"

/// A computer with one of the maker's hubs on port 1 of its root hub, the current platform while
/// it lives. The log goes to memory.
class CMessageBench
{
public:
    CMessageBench();
    explicit CMessageBench(const SimHubSettings& settings);
    CMessageBench(const CMessageBench&) = delete;
    CMessageBench& operator=(const CMessageBench&) = delete;
    ~CMessageBench();

    DWORD HubInst() const { return node.DevInst(); }

    CSimMachine machine;
    CSimHub hub;
    CSimNode& node;
};

/// What goes wrong in a story: a call of the seam fails, the n-th from now on, or every one (0).
struct StoryFault
{
    const char* pszOperation = nullptr; ///< null: nothing
    unsigned nCall = 1;
    DWORD dwCode = kErrAccessDenied;

    void Plant(CMessageBench& bench) const;
};

/// A name, which is the transcript's as well, and what is prepared before the story begins.
struct Story
{
    using Prepares = void (*)(CMessageBench& bench);

    Story(const char* pszStory, StoryFault first = {}, Prepares pfn = nullptr)
        : pszName(pszStory), fault(first), pfnPrepare(pfn)
    {}
    Story(const char* pszStory, Prepares pfn) : Story(pszStory, {}, pfn) {}

    const char* pszName;
    StoryFault fault;
    Prepares pfnPrepare;

    void Prepare(CMessageBench& bench) const;
};

/// Ends a story: everything that was said must be in the catalogue, and the transcript (each
/// message once, in order of its first appearance) must equal the recorded one of that name.
/// With ZELHUB_RECORD_TRANSCRIPTS=1 in the environment the transcript is written instead; read
/// the difference before you commit it.
void ExpectTranscript(const std::string& strName, const CMessageLog& log);

/// Counts what was heard in all stories of this run.
class CMessageCatalogue& HeardMessages();
