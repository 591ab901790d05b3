#include "tools/zelhub/CCommandLine.h"

#include "sim/models/CSimClock.h"
#include "tools/zelhub/commands/AllCommands.h"
#include "tools/zelhub/context/CToolContext.h"
#include "tools/zelhub/context/CWatchdog.h"
#include "tools/zelhub/output/CJsonOutput.h"
#include "tools/zelhub/output/CTableOutput.h"
#include "tools/zelhub/system/HostSystem.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr const char* kFooter =
    "Which hub: --hub '#2' (number in the list), inst:NUMBER, path:LOCATION or port:1.3; not\n"
    "needed where only one hub of the maker's is present.\n"
    "\n"
    "Data goes to standard output, messages and progress to standard error. With --json standard\n"
    "output is one JSON document (watch: JSON lines), standard error JSON lines.\n"
    "\n"
    "Ctrl-C: before flash is touched the command stops at its next step; afterwards it goes on\n"
    "to its end, and a second Ctrl-C leaves at once and says how to recover.\n"
    "\n"
    "Exit status: 0 done (also when already current, and for an empty list)  1 general\n"
    "  2 usage  3 no such device  4 no access to it  5 image refused  6 erase or write failed\n"
    "  7 verify mismatch  8 device lost, not back, or never answering\n"
    "\n"
    "Environment: NO_COLOR switches colours off.\n"
    "Try it without hardware: zelhub --bench examples/desk.json list";

constexpr const char* kHelpAll = "--help-all";

bool HasArgument(int nArguments, const char* const* ppArguments, const char* pszName)
{
    for (int i = 1; i < nArguments; ++i)
        if (std::strcmp(ppArguments[i], pszName) == 0)
            return true;
    return false;
}

constexpr double kLongestTimeout = 1e6; ///< what a timer surely takes

void DeclareGlobals(CLI::App& app, Options& options)
{
    app.add_option("--hub", options.strHub,
                   "which hub: '#2', inst:NUMBER, path:LOCATION, port:1.3");
    app.add_flag("--json", options.bJson, "results as one JSON document");
    app.add_flag("-q,--quiet", options.bQuiet, "no messages but warnings and errors");
    app.add_flag("-v,--verbose", options.bVerbose, "also say what the library reports");
    app.add_option("--log", options.strLog, "append what the library reports to this file");
    app.add_flag("--library-log", options.bLibraryLog,
                 "let the library write its info.txt beside its own file");
    app.add_option("--timeout", options.dTimeout,
                   "end after so many seconds of real time, whatever is going on")
        ->check([](const std::string& strText) {
            double dSeconds = 0;
            const bool bNumber = CLI::detail::lexical_cast(strText, dSeconds);
            return bNumber && dSeconds > 0 && dSeconds <= kLongestTimeout
                       ? std::string()
                       : "\"" + strText + "\" is no number of seconds above 0, at most 1000000";
        })
        ->type_name("SECONDS");
    app.add_option("--bench", options.strBench, "work on the simulated machine of this JSON file");
    app.add_option("--bench-state", options.strBenchState,
                   "keep the simulated machine in this file between calls");
    app.add_option("--bench-road", options.strRoad,
                   "simulated (default), or driver: the machine is behind a driver (Windows)")
        ->check(CLI::IsMember({"simulated", "driver"}))
        ->type_name("ROAD");
    app.add_option("--bench-pace", options.strPace,
                   "simulated time: instant (default), real, or a factor such as 10");
}

bool WantsColour()
{
    const char* const pszNoColour = std::getenv("NO_COLOR");
    return (pszNoColour == nullptr || *pszNoColour == '\0') && HostSystem::IsTerminal(true);
}

std::unique_ptr<COutput> MakeOutput(const Options& options)
{
    if (options.bJson)
        return std::make_unique<CJsonOutput>(options.Verbosity());
    return std::make_unique<CTableOutput>(options.Verbosity(), WantsColour());
}

/// Ends that are no answer of a hub's but of the tool or the machine.
Failure FailureOf(const std::exception& error)
{
    if (const auto* const pError = dynamic_cast<const CToolError*>(&error))
        return pError->Get();
    if (dynamic_cast<const CWouldBlockForever*>(&error) != nullptr)
        return {ExitCode::DeviceLost, std::string("the bench waits for ever: ") + error.what(), "",
                "", "Nothing on this bench can end that wait; change the bench file."};
    return {ExitCode::General, std::string("unexpected: ") + error.what(), "", "",
            "Please report this with the command that was typed."};
}

} // namespace

CCommandLine::CCommandLine(std::string strDrivers)
    : m_strDrivers(std::move(strDrivers)), m_commands(AllCommands())
{}

CCommandLine::~CCommandLine() = default;

int CCommandLine::Run(int nArguments, const char* const* ppArguments)
{
    HostSystem::PrepareStreams();
    CLI::App app("Updates the firmware of USB hubs.", "zelhub");
    app.allow_windows_style_options(false); // "/folder/new.bin" is a path everywhere
    app.set_version_flag("--version,--tool-version", "zelhub " ZELHUB_VERSION "\n" + m_strDrivers);
    app.set_help_all_flag(kHelpAll, "Print the help of all commands and exit");
    app.footer(kFooter);
    app.require_subcommand(1);
    DeclareGlobals(app, m_options);
    const CArguments::Words words(ppArguments, ppArguments + nArguments);
    CArguments root(app, HasArgument(nArguments, ppArguments, kHelpAll) ? nullptr : &words);
    for (const std::unique_ptr<ICommand>& pCommand : m_commands)
        pCommand->Declare(root);
    try {
        app.parse(nArguments, ppArguments);
    } catch (const CLI::Success& success) {
        (void)app.exit(success); // help and version
        return std::fflush(stdout) == 0 ? 0 : static_cast<int>(ExitCode::General);
    } catch (const CLI::ParseError& error) {
        m_options.bJson = HasArgument(nArguments, ppArguments, "--json");
        return UsageError(error.what(), "");
    }
    for (const std::unique_ptr<ICommand>& pCommand : m_commands)
        if (pCommand->Chosen())
            return RunCommand(*pCommand, pCommand->Name());
    return UsageError("no command was given", "");
}

int CCommandLine::UsageError(const std::string& strWhat, const std::string& strCommand)
{
    const Failure failure{ExitCode::Usage, Printable(strWhat), "", "",
                          "zelhub --help shows the commands, zelhub COMMAND --help its options."};
    (void)MakeOutput(m_options)->Finish(strCommand, failure.eCode, &failure);
    return static_cast<int>(failure.eCode);
}

int CCommandLine::RunCommand(ICommand& command, const std::string& strName)
{
    const std::unique_ptr<COutput> pOutput = MakeOutput(m_options);
    std::optional<Failure> failure;
    {
        CToolContext context(m_options, *pOutput, strName);
        context.SetLeave({ExitCode::General, "ended before the command was done", "", "",
                          "Nothing was changed; type it again."});
        HostSystem::CatchInterrupts();
        const CWatchdog watchdog(m_options.dTimeout > 0 ? m_options.dTimeout
                                                        : command.DefaultTimeout());
        const auto attempt = [&](const auto& work) {
            try {
                work();
            } catch (const std::exception& error) {
                if (!failure)
                    failure = FailureOf(error);
            }
        };
        attempt([&] {
            context.StartBench(strName != "bench");
            command.Run(context);
        });
        context.Progress().Clear();
        attempt([&] { context.SaveBench(true); });
    }
    const ExitCode eCode = failure ? failure->eCode : ExitCode::Done;
    const bool bWritten = pOutput->Finish(strName, eCode, failure ? &*failure : nullptr);
    if (bWritten || failure)
        return static_cast<int>(eCode);
    std::fputs("error: the result could not be written to standard output\n", stderr);
    return static_cast<int>(ExitCode::General);
}
