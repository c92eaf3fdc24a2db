// kvdm save, kvdm save-as.
#include "commands.h"
#include "edit.h"
#include "files.h"

#include <filesystem>
#include <iostream>

namespace kvdm::tool {

namespace {

// Keeps others from the file for as long as it lives; a Failure when one of them has it.
ComPtr<IStorage> takeAlone(const std::string& file)
{
    ComPtr<IStorage> storage;
    const HRESULT status = StgOpenStorage(OwnedBstr(fromUtf8(file, IllFormed::keep)).get(), nullptr,
                                          STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_TRANSACTED, nullptr, 0, storage.put());
    if (FAILED(status))
        (void)storage.detach();
    if (statusText(status) == statusText(STG_E_SHAREVIOLATION))
        throw Failure(file + ": " + statusText(status));
    return storage; // none for a file of another kind
}

void saveAs(const std::string& file, const std::string& target)
{
    const Document document(file);
    document.requireReadable();
    const ComPtr<IStorage> replaced = takeAlone(target);
    replaceFile(target, [&](const std::string& beside) {
        KvDmDocumentSaveError error = kvDmDocumentSaveErrorNone;
        const HRESULT status = document->SaveAs(OwnedBstr(fromUtf8(beside, IllFormed::keep)).get(), &error);
        if (FAILED(status) || error != kvDmDocumentSaveErrorNone)
            throw Failure(FAILED(status) ? statusText(status) : "the document cannot be saved");
        document->CloseDoc();
    });
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
    command->add_flag("--dry-run", options->dryRun, "Only tells whether they can be opened for that; no file is touched");
    teach(*command, "  kvdm save old/*.kvdprt");
    command->callback([options, &exitCode] {
        exitCode = editFiles(options->files, options->dryRun,
                             [&](const Document&) { return std::vector<std::string>{options->dryRun ? "can be opened for writing" : "saved"}; });
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
    teach(*command, "  kvdm save-as part.kvdprt part-copy.kvdprt");
    command->callback([options, &exitCode] {
        exitCode = forEachFile({options->file}, [&](const std::string& file) {
            requireNativeName(options->target);
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
