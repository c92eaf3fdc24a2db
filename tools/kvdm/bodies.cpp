// kvdm bodies: the solid and imported bodies and the partition of a configuration as files.
#include "client.h"
#include "commands.h"
#include "files.h"
#include "terminal.h"

#include <fmt/format.h>

#include <filesystem>
#include <iostream>
#include <set>
#include <system_error>

namespace kvdm::tool {

namespace {

struct Options
{
    std::vector<std::string> files;
    std::string configuration;
    std::string folder = ".";
};

std::u16string nameOf(IKvDMConfiguration9& configuration)
{
    OwnedBstr name;
    configuration.get_Name(name.put());
    return std::u16string(name.view());
}

std::vector<ComPtr<IKvDMConfiguration9>> wanted(const Document& document, const Options& options)
{
    return options.configuration.empty() ? configurations(*document.configurationManager())
                                         : std::vector{document.configuration(options.configuration)};
}

std::string reasonOf(KvDmBodyError error)
{
    switch (error) {
    case kvBodyErrorNoData:
        return "is not there";
    case kvBodyErrorFileCreation:
        return "its file cannot be created";
    case kvBodyErrorDecompression:
        return "does not decompress";
    default:
        return "cannot be read";
    }
}

// The files of one document: names that say where each body comes from, without what a file name cannot hold.
class Targets
{
public:
    explicit Targets(const std::string& path) : folder(path)
    {
        requireNativeName(path);
        std::error_code failure;
        std::filesystem::create_directories(folder, failure);
        if (failure)
            throw Failure(path + ": " + wordFor(failure));
    }

    std::string add(std::u16string_view configuration, const std::string& what)
    {
        std::string name = toUtf8(configuration) + "-" + what;
        for (char& c : name)
            if (c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20)
                c = '_';
        while (!names.insert(name).second) // two names may have become one
            name += '_';
        return (folder / (name + ".bin")).string();
    }

private:
    std::filesystem::path folder;
    std::set<std::string> names;
};

template <class Extract> void extractOne(const std::string& path, Extract&& extract)
{
    KvDmBodyError error = kvDmBodyErrorNone;
    const HRESULT status = extract(OwnedBstr(fromUtf8(path, IllFormed::keep)).get(), &error);
    if (error == kvBodyErrorDecompression) {
        std::error_code ignored;
        std::filesystem::remove(path, ignored); // nothing is in it
    }
    if (FAILED(status) || error != kvDmBodyErrorNone) {
        const std::string reason = error == kvBodyErrorNoData ? "" : whyNotWritten(path);
        throw Failure(path + ": " + (!reason.empty() ? reason : FAILED(status) ? statusText(status) : reasonOf(error)));
    }
    std::cout << path << '\n';
}

void list(const std::string& file, const Options& options)
{
    const Document document(file);
    document.requireReadable();
    for (const auto& configuration : wanted(document, options)) {
        LONG bodies = 0;
        LONG imported = 0;
        OwnedBstr partition;
        configuration->GetBodiesCount(&bodies);
        configuration->GetImportedBodiesCount(&imported);
        const bool hasPartition = SUCCEEDED(configuration->get_PartitionStreamName(partition.put()));
        std::cout << (options.files.size() > 1 ? file + '\t' : "") << coloured(printable(nameOf(*configuration)), 6)
                  << fmt::format("\tbodies {}\timported {}\tpartition {}\n", bodies, imported, hasPartition ? printable(partition.view()) : "none");
    }
}

void extract(const std::string& file, const Options& options)
{
    const Document document(file);
    document.requireReadable();
    Targets targets(options.folder);
    std::size_t failed = 0;
    const auto attempt = [&](const std::string& path, const auto& get) {
        try {
            extractOne(path, get);
        } catch (const Failure& failure) {
            complain(failure.what());
            ++failed;
        }
    };
    for (const auto& configuration : wanted(document, options)) {
        const std::u16string name = nameOf(*configuration);
        LONG bodies = 0;
        LONG imported = 0;
        configuration->GetBodiesCount(&bodies);
        configuration->GetImportedBodiesCount(&imported);
        for (LONG i = 0; i < bodies; ++i)
            attempt(targets.add(name, fmt::format("body-{}", i)),
                    [&](BSTR path, KvDmBodyError* error) { return configuration->GetBody(i, path, error); });
        KvDmBodyError outcome = kvDmBodyErrorNone;
        for (LONG i = 0; i < imported; ++i) {
            attempt(targets.add(name, fmt::format("imported-{}", i)), [&](BSTR path, KvDmBodyError* error) {
                const HRESULT status = configuration->GetImportedBody(i, path, error);
                outcome = *error;
                return status;
            });
            if (outcome == kvBodyErrorNoData) { // the list ends before its count: so it would be with those behind it
                failed += static_cast<std::size_t>(imported - i - 1);
                break;
            }
        }
        OwnedBstr partition;
        if (SUCCEEDED(configuration->get_PartitionStreamName(partition.put()))) {
            const std::string path = targets.add(name, "partition");
            KvDmBodyError found = kvDmBodyErrorNone;
            const auto get = [&](BSTR target, KvDmBodyError* error) {
                const HRESULT status = configuration->GetPartitionStream(target, error);
                found = *error;
                return status;
            };
            try {
                extractOne(path, get);
            } catch (const Failure& failure) {
                if (found != kvBodyErrorNoData) { // the name is there without a stream too
                    complain(failure.what());
                    ++failed;
                }
            }
        }
    }
    if (failed)
        throw Failure(fmt::format("{}: {} of its bodies could not be extracted", file, failed));
}

} // namespace

void addBodies(CLI::App& app, int& exitCode)
{
    CLI::App* bodies = app.add_subcommand("bodies", "Solid bodies, imported bodies and partitions, in the CAD system's own form");
    bodies->require_subcommand(1);
    auto options = std::make_shared<Options>();
    for (const bool extracts : {false, true}) {
        CLI::App* command = extracts ? bodies->add_subcommand("extract", "Writes them to files and prints the names")
                                     : bodies->add_subcommand("list", "Counts them, a line a configuration");
        command->add_option("FILE", options->files, extracts ? "The document" : "Documents; with several, each line begins with the file")
            ->required()
            ->expected(1, extracts ? 1 : CLI::detail::expected_max_vector_size);
        command->add_option("--config", options->configuration, "One configuration alone");
        if (extracts)
            command->add_option("-o,--output", options->folder, "The folder for the files; those of the same name are replaced")
                ->capture_default_str();
        teach(*command, extracts ? "  kvdm bodies extract part.kvdprt -o bodies" : "  kvdm bodies list *.kvdprt --config Default");
        command->callback([options, extracts, &exitCode] {
            exitCode = forEachFile(options->files, [&](const std::string& file) { extracts ? extract(file, *options) : list(file, *options); });
        });
    }
}

} // namespace kvdm::tool
