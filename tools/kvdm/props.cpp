// kvdm props: custom properties.
#include "client.h"
#include "commands.h"
#include "propertyPlace.h"
#include "terminal.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace kvdm::tool {

namespace {

struct ListOptions
{
    std::vector<std::string> files;
    PropertyPlace place;
    bool json = false;
};

void listAsJson(const std::string& file, const std::vector<Property>& properties)
{
    for (const Property& property : properties) {
        const nlohmann::ordered_json line = {{"file", file},
                                             {"name", toUtf8(property.name)},
                                             {"type", typeName(property.type)},
                                             {"linkedTo", toUtf8(property.linkedTo)},
                                             {"value", toUtf8(property.value)}};
        std::cout << line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    }
}

// name TAB type TAB value TAB link: one line a property, as cut and awk like it.
void listAsText(const std::string& file, const std::vector<Property>& properties, bool withFile)
{
    for (const Property& property : properties) {
        if (withFile)
            std::cout << file << '\t';
        std::cout << coloured(printable(property.name), 6) << '\t' << typeName(property.type) << '\t' << printable(property.value);
        if (!property.linkedTo.empty())
            std::cout << '\t' << faint(printable(property.linkedTo));
        std::cout << '\n';
    }
}

} // namespace

void addProps(CLI::App& app, int& exitCode)
{
    CLI::App* props = app.add_subcommand("props", "Custom properties of documents");
    props->require_subcommand(1);
    addPropsEdits(*props, exitCode);
    auto options = std::make_shared<ListOptions>();
    CLI::App* list = props->add_subcommand("list", "Lists them: name, type, value and, when linked, the link text, separated by tabs");
    list->add_option("FILE", options->files, "Documents; with several, each line begins with the file")->required();
    addPlaceOptions(*list, options->place);
    list->add_flag("--json", options->json, "One JSON object a property");
    teach(*list, "  kvdm props list part.kvdprt | cut -f 1,3\n"
                 "  kvdm props list *.kvdprt | awk -F'\\t' '$2 == \"Material\" { print $1, $4 }'\n"
                 "  kvdm props list --json *.kvdprt | jq -r 'select(.linkedTo != \"\") | .name'");
    list->callback([options, &exitCode] {
        exitCode = forEachFile(options->files, [&](const std::string& file) {
            const Document document(file);
            document.requireReadable();
            const auto properties = PropertyFace::of(document, options->place)->list();
            if (options->json)
                listAsJson(file, properties);
            else
                listAsText(file, properties, options->files.size() > 1);
        });
    });
}

} // namespace kvdm::tool
