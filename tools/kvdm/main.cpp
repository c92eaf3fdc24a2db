// kvdm: the documents of the Kestrovane CAD system at a shell.
#include "commands.h"

#include <kvdocmgr/oletypes.h>

#include <csignal>
#include <cstdio>
#include <iostream>

namespace kvdm::tool {

void complain(const std::string& line)
{
    std::cout.flush();
    std::cerr << "kvdm: " << line << '\n';
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
    app.get_formatter()->column_width(34);
    app.footer("Exit codes: 0 done, 1 something failed (standard error names the file and the cause), 2 wrong usage.\n"
               "'kvdm COMMAND --help' tells more. Windows paths work when KESTROVANE_PATH_MAP maps their drive.");
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

    const HRESULT initialized = CoInitialize(nullptr);
    try {
        app.parse(argc, argv);
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
