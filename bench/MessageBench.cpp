#include "bench/CNullResponder.h"
#include "msg/CLogResponder.h"
#include "msg/CMsg.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <string>

namespace
{
const char kLine[] = "[2024-0-15, 9:5:3]  In CUSBDev::WriteFlashEx, write flash complete 42%\n";

/// One message through the dispatcher to as many responders as the argument says.
void ShowMsg(benchmark::State& state)
{
    CMsgBase& msg = *CMsg::GetObj();
    CNullResponder responder;
    for (int i = 0; i < state.range(0); ++i)
        msg.Attach(&responder);
    while (state.KeepRunning())
        msg.ShowMsg(MSG_INFO, "CUSBDev::WriteFlashEx", "write flash complete %d%%\n", 42);
    msg.ClearResponder();
}
BENCHMARK(ShowMsg)->Arg(0)->Arg(1)->Arg(3);

std::string LogPath()
{
    char szPath[1024] = {};
    CLogResponder::GetSelfModulePath(szPath);
    const std::string sPath = szPath;
    return sPath.substr(0, sPath.rfind('/') + 1) + "info.txt";
}

/// One line into the log file.
void LogLine(benchmark::State& state)
{
    CLogResponder log;
    while (state.KeepRunning())
        log.ShowMsg(kLine, MSG_INFO);
    (void)std::remove(LogPath().c_str());
}
BENCHMARK(LogLine);

/// The same by hand: open, append, close.
void BareLine(benchmark::State& state)
{
    const std::string sPath = LogPath();
    while (state.KeepRunning()) {
        std::FILE* const pFile = std::fopen(sPath.c_str(), "ab");
        if (pFile == nullptr) {
            state.SkipWithError("cannot open the file");
            break;
        }
        std::setvbuf(pFile, nullptr, _IONBF, 0);
        std::fwrite(kLine, 1, std::strlen(kLine), pFile);
        std::fclose(pFile);
    }
    (void)std::remove(sPath.c_str());
}
BENCHMARK(BareLine);
} // namespace
