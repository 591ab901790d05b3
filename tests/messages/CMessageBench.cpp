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
std::string TranscriptOf(const CMessageRecorder& recorder)
{
    std::string strTranscript;
    std::set<std::string> seen;
    for (const SaidMessage& said : recorder.Said()) {
        const std::string strLine =
            said.strLevel + "|" + said.strFunction + "|" + Escaped(said.strText);
        if (!seen.insert(strLine).second)
            continue;
        EXPECT_TRUE(HeardMessages().Hear(said)) << "not in the catalogue: " << strLine;
        strTranscript += strLine + "\n";
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

void ExpectTranscript(const std::string& strName, const CMessageRecorder& recorder)
{
    const std::string strTranscript = TranscriptOf(recorder);
    const std::string strFile = kFolder + "transcripts/" + strName + ".txt";
    if (std::getenv("ZELHUB_RECORD_TRANSCRIPTS") != nullptr)
        std::ofstream(strFile, std::ios::binary) << strTranscript;
    EXPECT_EQ(strTranscript, FileText(strFile)) << strFile;
}
