// kvdm save, kvdm save-as.
#include "commands.h"
#include "edit.h"

#include <fmt/format.h>

#include <filesystem>
#include <iostream>
#include <random>

namespace kvdm::tool {

namespace {

// Removes a file that is not to stay.
struct Leftover
{
    std::filesystem::path path;
    ~Leftover()
    {
        std::error_code unknown;
        std::filesystem::remove(path, unknown);
    }
};

// Saves beside the target and moves there what was saved whole: the target is what it was, or the new document.
void saveAs(const std::string& file, const std::string& target)
{
    const std::filesystem::path wanted(target);
    const Leftover beside{wanted.parent_path() / fmt::format(".{}.{}.saving", wanted.filename().string(), std::random_device{}())};
    {
        const Document document(file);
        document.requireReadable();
        KvDmDocumentSaveError error = kvDmDocumentSaveErrorNone;
        const HRESULT status = document->SaveAs(OwnedBstr(fromUtf8(beside.path.string(), IllFormed::keep)).get(), &error);
        if (FAILED(status) || error != kvDmDocumentSaveErrorNone)
            throw Failure(target + ": not saved" + (FAILED(status) ? ": " + statusText(status) : ""));
    }
    std::error_code failure;
    std::filesystem::rename(beside.path, wanted, failure);
    if (failure)
        throw Failure(target + ": not saved: " + failure.message());
}

} // namespace

void addSave(CLI::App& app, int& exitCode)
{
    struct Options
    {
        std::vector<std::string> files;
        bool dryRun = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("save", "Opens documents for writing and saves them: headers and properties in their present form");
    command->add_option("FILE", options->files, "Documents")->required();
    command->add_flag("--dry-run", options->dryRun, "Only tells whether they can be read; no file is touched");
    command->callback([options, &exitCode] {
        exitCode = editFiles(options->files, options->dryRun, [](const Document&) { return std::vector<std::string>{"saved"}; });
    });
}

void addSaveAs(CLI::App& app, int& exitCode)
{
    struct Options
    {
        std::string file;
        std::string target;
        bool force = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("save-as", "Saves a document as a new file");
    command->add_option("FILE", options->file, "The document, which stays as it is")->required();
    command->add_option("NEW", options->target, "The new file")->required();
    command->add_flag("--force", options->force, "Replaces a file that is there");
    command->callback([options, &exitCode] {
        exitCode = forEachFile({options->file}, [&](const std::string& file) {
            std::error_code unknown;
            if (!options->force && std::filesystem::exists(options->target, unknown))
                throw Failure(options->target + ": is there already (--force replaces it)");
            if (std::filesystem::equivalent(file, options->target, unknown))
                throw Failure(options->target + ": is the document itself");
            saveAs(file, options->target);
            std::cout << options->target << ": saved\n";
        });
    });
}

} // namespace kvdm::tool
