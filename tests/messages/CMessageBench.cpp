#include "messages/CMessageBench.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#include "api/zelhub.h"
#include "messages/CMessageCatalogue.h"

namespace
{
const std::string kFolder = std::string(ZELHUB_SOURCE_DIR) + "/tests/messages/";

/// The messages as lines, each once; the catalogue hears them.
std::string TranscriptOf(const CMessageLog& log)
{
    std::string strTranscript;
    std::set<std::string> seen;
    for (std::string strLine : log.Lines()) {
        if (strLine.rfind("progress|", 0) == 0)
            continue;
        if (strLine.rfind("ui", 0) == 0)
            strLine.insert(3, "|"); // no function
        if (!seen.insert(strLine).second)
            continue;
        EXPECT_TRUE(HeardMessages().Hear(strLine)) << "not in the catalogue: " << strLine;
        strTranscript += Escaped(strLine) + "\n";
    }
    return strTranscript;
}

std::string FileText(const std::string& strFile)
{
    std::ifstream in(strFile, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
} // namespace

CMessageBench::CMessageBench() : CMessageBench(SimHubSettings{}) {}

CMessageBench::CMessageBench(const SimHubSettings& settings)
    : hub(machine.Time(), settings),
      node(machine.Tree().AddHub(machine.RootHub(), 1, HubNodeOptions{}, &hub))
{
    hub.AddPort(&node);
    machine.HostFiles().UseMemory();
    SetCurrentPlatform(&machine);
}

CMessageBench::~CMessageBench()
{
    machine.Faults().Clear();
    XH_UnInitDevice();
    SetCurrentPlatform(nullptr);
}

CMessageCatalogue& HeardMessages()
{
    static CMessageCatalogue s_catalogue(kFolder + "catalogue.txt");
    return s_catalogue;
}

void StoryFault::Plant(CMessageBench& bench) const
{
    if (pszOperation == nullptr)
        return;
    bench.machine.Faults().ResetCounts();
    if (nCall == 0)
        bench.machine.Faults().FailAlways(pszOperation, dwCode);
    else
        bench.machine.Faults().FailCall(pszOperation, nCall, dwCode);
}

void Story::Prepare(CMessageBench& bench) const
{
    if (pfnPrepare != nullptr)
        pfnPrepare(bench);
    fault.Plant(bench);
}

void ExpectTranscript(const std::string& strName, const CMessageLog& log)
{
    const std::string strTranscript = TranscriptOf(log);
    const std::string strFile = kFolder + "transcripts/" + strName + ".txt";
    if (std::getenv("ZELHUB_RECORD_TRANSCRIPTS") != nullptr)
        std::ofstream(strFile, std::ios::binary) << strTranscript;
    EXPECT_EQ(strTranscript, FileText(strFile)) << strFile;
}
