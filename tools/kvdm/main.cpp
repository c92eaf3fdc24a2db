// kvdm: the documents of the Kestrovane CAD system at a shell.
#include "commands.h"

#include <kvdocmgr/oletypes.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

namespace kvdm::tool {

void complain(const std::string& line)
{
    std::cout.flush();
    std::cerr << "kvdm: " << line << '\n';
}

namespace {

constexpr const char* exitCodes = "Exit codes: 0 done, 1 something failed (standard error names the file and the cause), 2 wrong usage.";

// Positionals named as a user would type them: "FILE... NAME VALUE".
class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_option_usage(const CLI::Option* option) const override
    {
        const std::string name = option->get_name(true, false);
        const bool several = option->get_expected_max() > 1 && name.find("...") == std::string::npos;
        return option->get_required() ? name + (several ? "..." : "") : "[" + name + (several ? "..." : "") + "]";
    }
    std::string make_option_opts(const CLI::Option* option) const override
    {
        return option->get_positional() ? "" : CLI::Formatter::make_option_opts(option);
    }
};

// The command that the words lead to, as far as they do.
const CLI::App& wantedCommand(const CLI::App& app)
{
    const auto parsed = app.get_subcommands();
    return parsed.empty() ? app : wantedCommand(*parsed.front());
}

std::string fullName(const CLI::App& command)
{
    return (command.get_parent() ? fullName(*command.get_parent()) + ' ' : "") + command.get_name();
}

// A word in brackets would be taken for a list of words. A sign before it, for as long as it is parsed, keeps it whole.
constexpr char wholeSign = '\x1f';

std::vector<std::string> signedWords(int argc, char** argv)
{
    std::vector<std::string> words(argv + 1, argv + argc);
    for (std::string& word : words) {
        if (word.starts_with('[') && word.ends_with(']'))
            word.insert(0, 1, wholeSign);
    }
    std::reverse(words.begin(), words.end()); // as the parser takes them
    return words;
}

void takeSignsOff(CLI::App& command)
{
    for (CLI::Option* option : command.get_options())
        option->transform([](const std::string& word) { return word.starts_with(wholeSign) ? word.substr(1) : word; });
    for (CLI::App* below : command.get_subcommands({}))
        takeSignsOff(*below);
}

std::string usageFailure(const CLI::App* app, const CLI::Error& error)
{
    const CLI::App& command = wantedCommand(*app);
    const std::string name = fullName(command);
    std::string reason = error.what();
    if (const auto words = app->remaining(true); error.get_name() == "RequiredError" && !command.get_subcommands({}).empty() && !words.empty())
        reason = "no command " + words.front();
    const std::string help = command.help(command.get_parent() ? fullName(*command.get_parent()) : "");
    const std::size_t usage = help.find("Usage: ");
    return "kvdm: " + reason + '\n' + help.substr(usage, help.find('\n', usage) - usage) + "\n'" + name + " --help' tells more.\n";
}

} // namespace

void teach(CLI::App& command, const std::string& examples)
{
    command.footer(examples + "\n\n" + exitCodes);
}

} // namespace kvdm::tool

int main(int argc, char** argv)
{
    using namespace kvdm::tool;
    std::ios::sync_with_stdio(false);
    int exitCode = exitDone;
    CLI::App app{"Reads and edits the documents of the Kestrovane CAD system (.kvdprt, .kvdasm, .kvddrw) without the CAD application.\n"
                 "\n"
                 "  kvdm info part.kvdprt                 what the document is, for a person\n"
                 "  kvdm props list part.kvdprt           its custom properties\n"
                 "  kvdm props set part.kvdprt Material Steel\n"
                 "  kvdm dump *.kvdprt | jq .version      everything, as one JSON object a line\n"
                 "  kvdm ls part.kvdprt                   the storages and streams of the file\n"
                 "  kvdm cat part.kvdprt Contents/CMgrHdr2 > header.bin",
                 "kvdm"};
    app.set_version_flag("--version", "kvdm " KVDM_VERSION);
    app.require_subcommand(1);
    app.formatter(std::make_shared<HelpFormatter>());
    app.get_formatter()->column_width(34);
    app.failure_message(usageFailure);
    app.footer(std::string(exitCodes) + "\n'kvdm COMMAND --help' tells more. Words that begin with '-' and are no options stand behind '--'.\n"
                                        "Windows paths work when KESTROVANE_PATH_MAP maps their drive.");
    addInfo(app, exitCode);
    addProps(app, exitCode);
    addSummary(app, exitCode);
    addConfigs(app, exitCode);
    addPreview(app, exitCode);
    addBodies(app, exitCode);
    addMass(app, exitCode);
    addSave(app, exitCode);
    addSaveAs(app, exitCode);
    addDump(app, exitCode);
    addLs(app, exitCode);
    addCat(app, exitCode);
    addCheck(app, exitCode);
    takeSignsOff(app);

    const HRESULT initialized = CoInitialize(nullptr);
    try {
        app.parse(signedWords(argc, argv));
    } catch (const CLI::ParseError& error) {
        const bool asked = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success); // --help, --version
        app.exit(error);
        exitCode = asked ? exitDone : exitUsage;
    } catch (const std::exception& failure) {
        complain(failure.what());
        exitCode = exitFailed;
    }
    if (SUCCEEDED(initialized))
        CoUninitialize();
    std::cout.flush();
    if (!std::cout && exitCode == exitDone) {
        complain("standard output: cannot be written");
        exitCode = exitFailed;
    }
    return exitCode;
}
