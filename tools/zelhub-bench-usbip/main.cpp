#include "tools/zelhub-bench-usbip/CServer.h"

#include "tools/zelhub/output/Failure.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace
{

int Serve(const ServerOptions& options)
{
    CServer server(options);
    std::printf("serving %zu devices; Ctrl-C ends it\n", server.Devices());
    std::fflush(stdout);
    server.Run();
    return 0;
}

int Send(const std::string& strControl, const std::vector<std::string>& words)
{
    std::string strLine;
    for (const std::string& strWord : words)
        strLine += strLine.empty() ? strWord : " " + strWord;
    const std::string strAnswer = CControlSocket::Ask(strControl, strLine);
    const bool bDone = strAnswer.ends_with("ok\n");
    std::fputs(strAnswer.c_str(), bDone ? stdout : stderr);
    return bDone ? 0 : static_cast<int>(ExitCode::General);
}

int Run(int nArguments, char** ppArguments)
{
    CLI::App app("Serves the hubs of a bench file as USB devices of the running kernel (vhci_hcd)");
    app.require_subcommand(1);
    ServerOptions options;
    CLI::App* const pServe = app.add_subcommand("serve", "attach the devices, until Ctrl-C");
    pServe->add_option("bench", options.strBench, "the bench file")->required();
    pServe->add_option("--control", options.strControl, "listen for commands on this local socket");
    pServe->add_option("--state", options.strStateDir, "keep flash contents in this folder");
    pServe->add_option("--log", options.strLog, "append every control request to this file");
    CLI::App* const pSend = app.add_subcommand("send", "a command for a server that runs");
    std::string strControl;
    std::vector<std::string> words;
    pSend->add_option("socket", strControl, "the server's --control")->required();
    pSend->add_option("command", words, "plug ID, unplug ID, fault JSON, check, quit")->required();
    try {
        app.parse(nArguments, ppArguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(ExitCode::Usage);
    }
    return pServe->parsed() ? Serve(options) : Send(strControl, words);
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    try {
        return Run(nArguments, ppArguments);
    } catch (const CToolError& error) {
        const Failure& failure = error.Get();
        std::fprintf(stderr, "error: %s\n", failure.strWhat.c_str());
        if (!failure.strNext.empty())
            std::fprintf(stderr, "%s\n", failure.strNext.c_str());
        return static_cast<int>(failure.eCode);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return static_cast<int>(ExitCode::General);
    }
}
