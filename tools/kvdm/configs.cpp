// kvdm configs, kvdm mass: the configurations of a document.
#include "commands.h"
#include "edit.h"
#include "terminal.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <iostream>

namespace kvdm::tool {

namespace {

using Json = nlohmann::ordered_json;

std::u16string textOf(IKvDMConfiguration9& configuration, HRESULT (IKvDMConfiguration9::*get)(BSTR*))
{
    OwnedBstr text;
    return FAILED((configuration.*get)(text.put())) ? std::u16string() : std::u16string(text.view());
}

std::u16string activeName(IKvDMConfigurationMgr& manager)
{
    OwnedBstr name;
    return FAILED(manager.GetActiveConfigurationName(name.put())) ? std::u16string() : std::u16string(name.view());
}

void requireList(IKvDMConfigurationMgr& manager, const std::string& file)
{
    LONG count = -1;
    if (FAILED(manager.GetConfigurationCount(&count)) || count < 0)
        throw Failure(file + ": its list of configurations cannot be read");
}

struct ListOptions
{
    std::vector<std::string> files;
    bool json = false;
};

void list(const std::string& file, const ListOptions& options)
{
    const Document document(file);
    document.requireReadable();
    const auto manager = document.configurationManager();
    requireList(*manager, file);
    const std::u16string active = activeName(*manager);
    for (const auto& configuration : configurations(*manager)) {
        const std::u16string name = textOf(*configuration, &IKvDMConfiguration9::get_Name);
        const std::u16string description = textOf(*configuration, &IKvDMConfiguration9::get_Description);
        const std::u16string parent = textOf(*configuration, &IKvDMConfiguration9::GetParentConfigurationName);
        if (options.json) {
            const Json line = {{"file", file},
                               {"name", toUtf8(name)},
                               {"active", name == active},
                               {"streamName", toUtf8(textOf(*configuration, &IKvDMConfiguration9::get_StreamName))},
                               {"description", toUtf8(description)},
                               {"comment", toUtf8(textOf(*configuration, &IKvDMConfiguration9::get_Comment))},
                               {"alternateName", toUtf8(textOf(*configuration, &IKvDMConfiguration9::get_AlternateName))},
                               {"parent", toUtf8(parent)}};
            std::cout << line.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
            continue;
        }
        if (options.files.size() > 1)
            std::cout << file << '\t';
        std::cout << (name == active ? "* " : "  ") << coloured(printable(name), 6) << '\t' << printable(description);
        if (!parent.empty())
            std::cout << '\t' << faint("below " + printable(parent));
        std::cout << '\n';
    }
}

void addList(CLI::App& configs, int& exitCode)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App* command = configs.add_subcommand("list", "Lists them; * marks the active one");
    command->add_option("FILE", options->files, "Documents; with several, each line begins with the file")->required();
    command->add_flag("--json", options->json, "One JSON object a configuration");
    teach(*command, "  kvdm configs list part.kvdprt                 name, description, parent\n"
                    "  kvdm configs list --json *.kvdprt | jq -r 'select(.active) | [.file, .name] | @tsv'");
    command->callback([options, &exitCode] { exitCode = forEachFile(options->files, [&](const std::string& file) { list(file, *options); }); });
}

struct ChangeOptions
{
    std::string file;
    std::string name;
    std::string newName;
    std::string field;
    std::string value;
    bool undo = false;
    bool dryRun = false;
};

CLI::App* addChange(CLI::App& configs, const char* name, const char* help, const std::shared_ptr<ChangeOptions>& options)
{
    CLI::App* command = configs.add_subcommand(name, help);
    command->add_option("FILE", options->file, "The document")->required();
    command->add_option("NAME", options->name, "The configuration, exact in case")->required();
    command->add_flag("--dry-run", options->dryRun, "Tells what would be done; no file is touched");
    return command;
}

// The library refuses a name in silence, so the name is read again.
std::vector<std::string> rename(const Document& document, const ChangeOptions& options)
{
    const auto configuration = document.configuration(options.name);
    configuration->put_Name2(OwnedBstr(fromUtf8(options.newName)).get());
    if (textOf(*configuration, &IKvDMConfiguration9::get_Name2) != fromUtf8(options.newName))
        throw Failure("\"" + options.newName + "\" cannot be a name: it is empty, in use, or holds @ or /");
    return {fmt::format("\"{}\" is now \"{}\"", options.name, options.newName)};
}

std::vector<std::string> markDeleted(const Document& document, const ChangeOptions& options)
{
    const auto configuration = document.configuration(options.name);
    VARIANT_BOOL marked = VARIANT_FALSE;
    configuration->put_Delete(VARIANT_TRUE);
    configuration->get_Delete(&marked);
    if (!marked)
        throw Failure("\"" + options.name + "\" is the active configuration, which stays");
    return {fmt::format("\"{}\" is marked as deleted", options.name)};
}

struct Field
{
    const char* name;
    HRESULT (IKvDMConfiguration9::*put)(BSTR);
};
const Field fields[] = {{"description", &IKvDMConfiguration9::put_Description},
                        {"comment", &IKvDMConfiguration9::put_Comment2},
                        {"alternate-name", &IKvDMConfiguration9::put_AlternateName2}};

std::vector<std::string> setField(const Document& document, const ChangeOptions& options)
{
    const auto configuration = document.configuration(options.name);
    for (const Field& field : fields)
        if (options.field == field.name && FAILED((configuration.get()->*field.put)(OwnedBstr(fromUtf8(options.value)).get())))
            throw Failure(options.field + " cannot be set");
    return {fmt::format("\"{}\": {} = {}", options.name, options.field, printable(fromUtf8(options.value)))};
}

} // namespace

void addConfigs(CLI::App& app, int& exitCode)
{
    CLI::App* configs = app.add_subcommand("configs", "Configurations: the variants of a model");
    configs->require_subcommand(1);
    addList(*configs, exitCode);

    auto renaming = std::make_shared<ChangeOptions>();
    CLI::App* renameCommand = addChange(*configs, "rename", "Gives a configuration another name", renaming);
    renameCommand->add_option("NEW", renaming->newName, "The new name")->required();
    teach(*renameCommand, "  kvdm configs rename part.kvdprt Machined Milled");
    renameCommand->callback([renaming, &exitCode] {
        exitCode = editFiles(std::vector<std::string>{renaming->file}, renaming->dryRun,
                             [&](const Document& document) { return rename(document, *renaming); });
    });

    auto deleting = std::make_shared<ChangeOptions>();
    CLI::App* deleteCommand = addChange(*configs, "delete", "Marks a configuration as deleted; its streams stay in the file", deleting);
    teach(*deleteCommand, "  kvdm configs delete part.kvdprt Machined");
    deleteCommand->callback([deleting, &exitCode] {
        exitCode = editFiles(std::vector<std::string>{deleting->file}, deleting->dryRun,
                             [&](const Document& document) { return markDeleted(document, *deleting); });
    });

    auto setting = std::make_shared<ChangeOptions>();
    CLI::App* set = addChange(*configs, "set", "Sets a text of a configuration", setting);
    set->add_option("FIELD", setting->field, "description, comment or alternate-name")
        ->required()
        ->check(CLI::IsMember({"description", "comment", "alternate-name"}));
    set->add_option("VALUE", setting->value, "The text")->required();
    teach(*set, "  kvdm configs set part.kvdprt Machined description 'milled on all sides'");
    set->callback([setting, &exitCode] {
        exitCode = editFiles(std::vector<std::string>{setting->file}, setting->dryRun,
                             [&](const Document& document) { return setField(document, *setting); });
    });
}

void addMass(CLI::App& app, int& exitCode)
{
    struct Options
    {
        std::vector<std::string> files;
        std::string configuration;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("mass", "The 13 mass figures of each configuration, as the last save of the CAD system left them");
    command->add_option("FILE", options->files, "Documents")->required();
    command->add_option("--config", options->configuration, "One configuration alone");
    teach(*command, "  kvdm mass *.kvdprt          configuration and figures, separated by tabs; \"none\" where there are none");
    command->callback([options, &exitCode] {
        exitCode = forEachFile(options->files, [&](const std::string& file) {
            const Document document(file);
            document.requireReadable();
            requireList(*document.configurationManager(), file);
            auto wanted = options->configuration.empty() ? configurations(*document.configurationManager())
                                                         : std::vector{document.configuration(options->configuration)};
            for (const auto& configuration : wanted) {
                KvDmMassPropError error = kvDmMassPropErrorUnknown;
                OwnedVariant figures;
                configuration->GetMassProperties(&error, figures.put());
                std::cout << (options->files.size() > 1 ? file + '\t' : "")
                          << coloured(printable(textOf(*configuration, &IKvDMConfiguration9::get_Name)), 6);
                if (error == kvDmMassPropErrorNone)
                    for (const double figure : reals(figures.get()))
                        std::cout << '\t' << fmt::format("{}", figure);
                else
                    std::cout << '\t'
                              << faint(error == kvDmMassPropErrorEarlierVersion ? "the document is older than mass figures"
                                       : error == kvDmMassPropErrorNoData       ? "none"
                                                                                : "cannot be read");
                std::cout << '\n';
            }
        });
    });
}

} // namespace kvdm::tool
