// kvdm props set, add, delete, batch; kvdm summary.
#include "batch.h"
#include "commands.h"
#include "edit.h"
#include "terminal.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <map>

namespace kvdm::tool {

namespace {

struct EditOptions
{
    std::vector<std::string> words; // FILE... NAME [VALUE]
    std::string type = "text";
    PropertyPlace place;
    bool dryRun = false;
};

// The words behind the files.
std::vector<std::string> takeLast(std::vector<std::string>& words, std::size_t count)
{
    std::vector<std::string> last(words.end() - static_cast<std::ptrdiff_t>(count), words.end());
    words.resize(words.size() - count);
    return last;
}

void addCommonFlags(CLI::App& command, const std::shared_ptr<EditOptions>& options)
{
    addPlaceOptions(command, options->place);
    command.add_flag("--dry-run", options->dryRun, "Tells what would be done; no file is touched");
}

void addSet(CLI::App& props, int& exitCode)
{
    auto options = std::make_shared<EditOptions>();
    CLI::App* command = props.add_subcommand("set", "Changes a property that is there; its type stays, a link is cut");
    command->add_option("FILE... NAME VALUE", options->words, "Documents, then the property's name and its new value")->required()->expected(3, -1);
    addCommonFlags(*command, options);
    teach(*command, "  kvdm props set part.kvdprt Material 'Steel 1.4301'\n"
                    "  kvdm props set *.kvdprt Status released --dry-run\n"
                    "  kvdm props set part.kvdprt Length 12.5 --config Machined\n"
                    "  kvdm props set part.kvdprt -- Offset -5         behind -- nothing is an option");
    command->callback([options, &exitCode] {
        const auto change = takeLast(options->words, 2);
        exitCode = editFiles(options->words, options->dryRun, [&](const Document& document) {
            return std::vector<std::string>{setProperty(document, options->place, change[0], change[1])};
        });
    });
}

void addAdd(CLI::App& props, int& exitCode)
{
    auto options = std::make_shared<EditOptions>();
    CLI::App* command = props.add_subcommand("add", "Adds a property");
    command->add_option("FILE... NAME VALUE", options->words, "Documents, then the property's name and its value")->required()->expected(3, -1);
    command->add_option("--type", options->type, "text, date, number or yes-no")
        ->check(CLI::IsMember({"text", "date", "number", "yes-no"}))
        ->capture_default_str();
    addCommonFlags(*command, options);
    teach(*command, "  kvdm props add part.kvdprt Vendor 'Kestrel Works'\n"
                    "  kvdm props add part.kvdprt Weight 12.5 --type number\n"
                    "  kvdm props add part.kvdprt Checked Yes --type yes-no\n"
                    "  kvdm props add *.kvdprt 'Drawn on' 11/21/2026 --type date");
    command->callback([options, &exitCode] {
        const auto change = takeLast(options->words, 2);
        exitCode = editFiles(options->words, options->dryRun, [&](const Document& document) {
            return std::vector<std::string>{addProperty(document, options->place, change[0], typeOfName(options->type), change[1])};
        });
    });
}

void addDelete(CLI::App& props, int& exitCode)
{
    auto options = std::make_shared<EditOptions>();
    CLI::App* command = props.add_subcommand("delete", "Deletes a property");
    command->add_option("FILE... NAME", options->words, "Documents, then the property's name")->required()->expected(2, -1);
    addCommonFlags(*command, options);
    teach(*command, "  kvdm props delete *.kvdprt 'Old number'");
    command->callback([options, &exitCode] {
        const auto change = takeLast(options->words, 1);
        exitCode = editFiles(options->words, options->dryRun,
                             [&](const Document& document) { return std::vector<std::string>{deleteProperty(document, options->place, change[0])}; });
    });
}

void addBatch(CLI::App& props, int& exitCode)
{
    auto options = std::make_shared<EditOptions>();
    CLI::App* command = props.add_subcommand("batch", "Sets or adds many properties of many documents from a list");
    command
        ->add_option("LIST", options->words,
                     "CSV (file,name,value) or JSON lines ({\"file\": ..., \"name\": ..., \"value\": ...}); - is standard input")
        ->required()
        ->expected(1);
    command->add_option("--type", options->type, "The type of properties that are not there yet: text, date, number or yes-no")
        ->check(CLI::IsMember({"text", "date", "number", "yes-no"}))
        ->capture_default_str();
    addCommonFlags(*command, options);
    teach(*command, "A property that is not there is added. All changes of one file are saved together or not at all. A first CSV line\n"
                    "\"file,name,value\" is a heading; lists are UTF-8. A JSON line may have a \"type\" for a property that is not there.\n"
                    "\n"
                    "  kvdm props batch released.csv\n"
                    "  kvdm props list --json *.kvdprt | jq -c 'select(.name == \"Status\") | .value = \"released\"' | kvdm props batch -");
    command->callback([options, &exitCode] {
        std::vector<FileEdit> edits;
        for (auto& [file, changes] : readBatch(options->words.front())) {
            edits.push_back({file, [options, changes = std::move(changes)](const Document& document) {
                                 std::vector<std::string> lines;
                                 for (const Change& change : changes)
                                     lines.push_back(hasProperty(document, options->place, change.name)
                                                         ? setProperty(document, options->place, change.name, change.value)
                                                         : addProperty(document, options->place, change.name,
                                                                       typeOfName(change.type.empty() ? options->type : change.type), change.value));
                                 return lines;
                             }});
        }
        exitCode = editFiles(edits, options->dryRun, errorIsTerminal());
    });
}

struct SummaryField
{
    const char* name;
    HRESULT (IKvDMDocument::*get)(BSTR*);
    HRESULT (IKvDMDocument::*put)(BSTR); // null: only a save sets it
};

const SummaryField summaryFields[] = {
    {"title", &IKvDMDocument::get_Title, &IKvDMDocument::put_Title},
    {"subject", &IKvDMDocument::get_Subject, &IKvDMDocument::put_Subject},
    {"author", &IKvDMDocument::get_Author, &IKvDMDocument::put_Author},
    {"keywords", &IKvDMDocument::get_Keywords, &IKvDMDocument::put_Keywords},
    {"comments", &IKvDMDocument::get_Comments, &IKvDMDocument::put_Comments},
    {"lastSavedBy", &IKvDMDocument::get_LastSavedBy, nullptr},
    {"creationDate", &IKvDMDocument::get_CreationDate, nullptr},
    {"lastSavedDate", &IKvDMDocument::get_LastSavedDate, nullptr},
};

struct SummaryOptions
{
    std::vector<std::string> words; // FILE... [FIELD VALUE]
    std::map<std::string, std::string> fields;
    bool dryRun = false;
};

bool canBeSet(const std::string& name)
{
    return std::any_of(std::begin(summaryFields), std::end(summaryFields),
                       [&](const SummaryField& field) { return field.put && name == field.name; });
}

std::vector<std::string> setSummary(const Document& document, const std::map<std::string, std::string>& fields)
{
    std::vector<std::string> lines;
    for (const SummaryField& field : summaryFields) {
        const auto wanted = fields.find(field.name);
        if (wanted == fields.end())
            continue;
        const std::u16string value = fromUtf8(wanted->second);
        if (const HRESULT status = ((*document).*field.put)(OwnedBstr(value).get()); FAILED(status))
            throw Failure(std::string(field.name) + " cannot be set: " + statusText(status));
        const std::u16string held = document.text(field.get).value_or(u"");
        if (held != value) // the library cuts it, and puts "?" for letters that the code page lacks
            throw Failure(field.name + storedOtherwise(value, held));
        lines.push_back(fmt::format("{} = {}", field.name, printable(value)));
    }
    return lines;
}

} // namespace

void addPropsEdits(CLI::App& props, int& exitCode)
{
    addSet(props, exitCode);
    addAdd(props, exitCode);
    addDelete(props, exitCode);
    addBatch(props, exitCode);
}

void addSummary(CLI::App& app, int& exitCode)
{
    CLI::App* summary = app.add_subcommand("summary", "Title, subject, author, keywords and comments");
    summary->require_subcommand(1);

    auto files = std::make_shared<std::vector<std::string>>();
    CLI::App* list = summary->add_subcommand("list", "Lists the fields: name and value, separated by a tab");
    list->add_option("FILE", *files, "Documents; with several, each line begins with the file")->required();
    teach(*list, "  kvdm summary list *.kvdprt | awk -F'\\t' '$2 == \"author\" { print $1, $3 }'");
    list->callback([files, &exitCode] {
        exitCode = forEachFile(*files, [&](const std::string& file) {
            const Document document(file);
            document.requireReadable();
            for (const SummaryField& field : summaryFields)
                std::cout << (files->size() > 1 ? file + '\t' : "") << field.name << '\t' << printable(document.text(field.get).value_or(u""))
                          << '\n';
        });
    });

    auto options = std::make_shared<SummaryOptions>();
    CLI::App* set = summary->add_subcommand("set", "Sets fields: FILE... FIELD VALUE, or FILE... with one option a field");
    set->add_option("FILE... [FIELD VALUE]", options->words, "Documents, then a field and its value unless options name them")->required();
    for (const SummaryField& field : summaryFields) {
        if (field.put)
            set->add_option_function<std::string>(
                std::string("--") + field.name, [options, name = field.name](const std::string& value) { options->fields[name] = value; },
                fmt::format("The {}", field.name));
    }
    set->add_flag("--dry-run", options->dryRun, "Tells what would be done; no file is touched");
    teach(*set, "  kvdm summary set part.kvdprt title Bracket\n"
                "  kvdm summary set *.kvdprt --author 'A. Keller' --keywords 'sheet metal'");
    set->callback([options, &exitCode] {
        if (options->fields.empty()) {
            if (options->words.size() < 3)
                throw CLI::ValidationError("summary set",
                                           "needs FILE... FIELD VALUE, or FILE... and --title, --subject, --author, --keywords, --comments");
            const auto change = takeLast(options->words, 2);
            if (!canBeSet(change[0]))
                throw CLI::ValidationError("summary set", "no field \"" + change[0] + "\": use title, subject, author, keywords or comments");
            options->fields[change[0]] = change[1];
        }
        exitCode = editFiles(options->words, options->dryRun, [&](const Document& document) { return setSummary(document, options->fields); });
    });
}

} // namespace kvdm::tool
