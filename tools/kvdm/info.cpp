// kvdm info: a document for a person.
#include "client.h"
#include "commands.h"
#include "preview.h"
#include "terminal.h"

#include <fmt/format.h>

#include <filesystem>
#include <iostream>

namespace kvdm::tool {

namespace {

constexpr std::size_t labelColumns = 16;
constexpr std::size_t longestShown = 200; // letters of a text; 'props list' shows all

void line(std::string_view label, const std::string& value)
{
    if (!value.empty())
        std::cout << "  " << faint(padded(label, labelColumns)) << value << '\n';
}

void heading(const std::string& text)
{
    std::cout << '\n' << bold(text) << '\n';
}

std::string kindOf(const std::string& file)
{
    std::string extension = std::filesystem::path(file).extension().string();
    for (char& c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (extension == ".kvdasm" || extension == ".asm" || extension == ".asmdot")
        return "assembly";
    if (extension == ".kvddrw" || extension == ".drw" || extension == ".drwdot")
        return "drawing";
    return "part";
}

std::string joined(const std::vector<std::u16string>& texts)
{
    std::string result;
    for (const std::u16string& text : texts)
        result += (result.empty() ? "" : ", ") + printable(text);
    return result;
}

void showProperties(const std::string& title, const std::vector<Property>& properties)
{
    if (properties.empty())
        return;
    heading(fmt::format("{} ({})", title, properties.size()));
    std::size_t names = 0;
    std::size_t types = 0;
    for (const Property& property : properties) {
        names = std::max(names, columnsOf(printable(property.name)));
        types = std::max(types, columnsOf(typeName(property.type)));
    }
    names = std::min<std::size_t>(names, 40);
    for (const Property& property : properties) {
        const bool bare = property.value.empty() && property.linkedTo.empty(); // no blanks at the end of a line
        std::cout << "  " << coloured(padded(shortened(printable(property.name), longestShown), names), 6) << "  "
                  << faint(padded(typeName(property.type), bare ? 0 : types));
        if (!bare)
            std::cout << "  " << shortened(printable(property.value), longestShown);
        if (!property.linkedTo.empty())
            std::cout << faint("  = " + printable(property.linkedTo));
        std::cout << '\n';
    }
}

// The list, with a star at the active one.
void showConfigurations(IKvDMConfigurationMgr& manager)
{
    const auto variants = configurations(manager);
    if (variants.size() < 2)
        return;
    heading(fmt::format("Configurations ({})", variants.size()));
    OwnedBstr active;
    manager.GetActiveConfigurationName(active.put());
    std::vector<std::pair<std::u16string, std::string>> rows; // name and description
    std::size_t widest = 0;
    for (const auto& variant : variants) {
        OwnedBstr name, description;
        variant->get_Name(name.put());
        variant->get_Description(description.put());
        rows.emplace_back(name.view(), shortened(printable(description.view()), longestShown));
        widest = std::max(widest, columnsOf(printable(name.view())));
    }
    for (const auto& [name, description] : rows)
        std::cout << (name == active.view() ? "* " : "  ") << coloured(padded(printable(name), description.empty() ? 0 : widest), 6)
                  << (description.empty() ? "" : "  ") << description << '\n';
}

// A name as one word of a shell.
std::string shellWord(const std::string& name)
{
    if (name.find_first_of(" \t\n'\"\\$`&|;<>()*?[]#~!") == std::string::npos)
        return name;
    std::string word = "'";
    for (const char c : name)
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

void show(const std::string& file)
{
    const Document document(file);
    document.requireReadable();
    const auto text = [&](HRESULT (IKvDMDocument::*get)(BSTR*)) { return printable(document.text(get).value_or(u"")); };
    LONG version = 0;
    LONG stamp = 0;
    document->GetVersion(&version);
    document->GetLastUpdateStamp(&stamp);
    std::error_code unknown;
    const auto bytes = std::filesystem::file_size(file, unknown);

    std::cout << bold(std::filesystem::path(file).filename().string()) << '\n';
    line("Kind", kindOf(file));
    line("Version", fmt::format("{}", version));
    if (!unknown)
        line("Size", sizeText(bytes));
    line("Update stamp", fmt::format("{}", stamp));
    line("Title", text(&IKvDMDocument::get_Title));
    line("Subject", text(&IKvDMDocument::get_Subject));
    line("Author", text(&IKvDMDocument::get_Author));
    line("Keywords", text(&IKvDMDocument::get_Keywords));
    line("Comments", text(&IKvDMDocument::get_Comments));
    line("Created", text(&IKvDMDocument::get_CreationDate));
    line("Last saved", text(&IKvDMDocument::get_LastSavedDate));
    line("Last saved by", text(&IKvDMDocument::get_LastSavedBy));

    VARIANT_BOOL flag = VARIANT_FALSE;
    if (SUCCEEDED(document->IsDetachedDrawing(&flag)) && flag)
        line("Drawing", "detached");
    if (SUCCEEDED(document->IsSmartComponentDocument(&flag)) && flag)
        line("Component", "smart");
    KvDmToolboxPartType toolbox = kvDmNotAToolboxPart;
    if (SUCCEEDED(document->get_ToolboxPart(&toolbox)) && toolbox != kvDmNotAToolboxPart)
        line("Toolbox", toolbox == kvDmToolboxStandardPart ? "standard part" : "copied part");
    OwnedVariant sheets;
    OwnedBstr active;
    if (SUCCEEDED(document->GetSheetNames(sheets.put())) && SUCCEEDED(document->GetActiveSheetName(active.put()))) {
        line("Sheets", joined(texts(sheets.get())));
        line("Active sheet", printable(active.view()));
    }
    OwnedVariant attachments;
    if (SUCCEEDED(document->GetLinkedAttachments(attachments.put())))
        line("Attachments", joined(texts(attachments.get())));
    line("Links", joined(document.hyperLinks()));

    if (const ComPtr<IKvPicture> picture = previewPicture(document, {})) {
        const auto shown = pictureForTerminal(*picture);
        if (shown)
            std::cout << '\n' << *shown;
        else
            line("Preview", "kvdm preview " + shellWord(file) + " -o preview.png");
    }
    showConfigurations(*document.configurationManager());

    showProperties("Custom properties", customProperties(*document));
    showProperties("Invisible properties", invisibleProperties(*document));
}

} // namespace

void addInfo(CLI::App& app, int& exitCode)
{
    auto files = std::make_shared<std::vector<std::string>>();
    CLI::App* command = app.add_subcommand("info", "Shows what a document is: version, summary, links, properties");
    command->add_option("FILE", *files, "Documents")->required();
    teach(*command, "  kvdm info part.kvdprt\n  kvdm info *.kvdasm | less");
    command->callback([files, &exitCode] {
        bool first = true;
        exitCode = forEachFile(*files, [&](const std::string& file) {
            if (!std::exchange(first, false))
                std::cout << '\n';
            show(file);
        });
    });
}

} // namespace kvdm::tool
