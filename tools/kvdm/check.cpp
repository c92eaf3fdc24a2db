// kvdm check: the structure of a compound file against the format.
#include "client.h"
#include "commands.h"
#include "platform/compoundfile/checker.h"
#include "storage/lockbytes/suFileLockBytes.h"
#include "terminal.h"

#include <fmt/format.h>

#include <iostream>

namespace kvdm::tool {

namespace {

std::vector<std::string> checkFile(const std::string& nativePath)
{
    const auto bytes = ComPtr<suFileLockBytes>::adopt(new suFileLockBytes);
    const HRESULT status = bytes->open(fromUtf8(nativePath, IllFormed::keep), false);
    if (FAILED(status))
        throw openingFailure(nativePath, status);
    return checkCompoundFile(*bytes);
}

} // namespace

void addCheck(CLI::App& app, int& exitCode)
{
    auto files = std::make_shared<std::vector<std::string>>();
    CLI::App* command = app.add_subcommand("check", "Checks the structure of compound files strictly against the format");
    command->add_option("FILE", *files, "Compound files")->required();
    teach(*command, "  kvdm check *.kvdprt         each fault is a line; the exit code is 1 when there is one");
    command->callback([files, &exitCode] {
        exitCode = forEachFile(*files, [&](const std::string& file) {
            const std::vector<std::string> faults = checkFile(file);
            for (const std::string& fault : faults)
                std::cout << file << ": " << fault << '\n';
            if (!faults.empty())
                throw Failure(fmt::format("{}: {} {}", file, faults.size(), faults.size() == 1 ? "fault" : "faults"));
            std::cout << file << ": " << coloured("sound", 2) << '\n';
        });
    });
}

} // namespace kvdm::tool
