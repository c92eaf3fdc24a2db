// kvdm dump: everything that the interfaces answer, one JSON object a file.
#include "client.h"
#include "commands.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace kvdm::tool {

namespace {

using Json = nlohmann::ordered_json;

Json jsonText(std::u16string_view text)
{
    return toUtf8(text);
}

Json jsonOptional(const std::optional<std::u16string>& text)
{
    return text ? jsonText(*text) : Json();
}

Json jsonTexts(const std::vector<std::u16string>& texts)
{
    Json list = Json::array();
    for (const std::u16string& text : texts)
        list.push_back(jsonText(text));
    return list;
}

Json jsonProperties(const std::vector<Property>& properties)
{
    Json list = Json::array();
    for (const Property& property : properties) {
        list.push_back({{"name", jsonText(property.name)},
                        {"type", property.type},
                        {"linkedTo", jsonText(property.linkedTo)},
                        {"value", jsonText(property.value)}});
    }
    return list;
}

// A call with one out-pointer; null when it failed.
template <class Value> Json jsonNumber(const Document& document, HRESULT (IKvDMDocument12::*get)(Value*), Value preset = {})
{
    const HRESULT status = ((*document).*get)(&preset);
    return FAILED(status) ? Json() : Json(static_cast<LONG>(preset));
}

Json jsonFlag(const Document& document, HRESULT (IKvDMDocument12::*get)(VARIANT_BOOL*))
{
    VARIANT_BOOL flag = VARIANT_FALSE;
    const HRESULT status = ((*document).*get)(&flag);
    return FAILED(status) ? Json() : Json(flag != VARIANT_FALSE);
}

Json jsonTextArray(const Document& document, HRESULT (IKvDMDocument12::*get)(VARIANT*))
{
    OwnedVariant array;
    return FAILED(((*document).*get)(array.put())) ? Json() : jsonTexts(texts(array.get()));
}

// The output of GetVersion is left alone when nothing can be read; no version is below zero.
Json jsonVersion(const Document& document)
{
    LONG version = -1;
    LONG other = -2;
    document->GetVersion(&version);
    document->GetVersion(&other);
    return version == other ? Json(version) : Json();
}

Json jsonSummary(const Document& document)
{
    return {{"title", jsonOptional(document.text(&IKvDMDocument::get_Title))},
            {"subject", jsonOptional(document.text(&IKvDMDocument::get_Subject))},
            {"author", jsonOptional(document.text(&IKvDMDocument::get_Author))},
            {"keywords", jsonOptional(document.text(&IKvDMDocument::get_Keywords))},
            {"comments", jsonOptional(document.text(&IKvDMDocument::get_Comments))},
            {"lastSavedBy", jsonOptional(document.text(&IKvDMDocument::get_LastSavedBy))},
            {"creationDate", jsonOptional(document.text(&IKvDMDocument::get_CreationDate))},
            {"lastSavedDate", jsonOptional(document.text(&IKvDMDocument::get_LastSavedDate))}};
}

// A text of a configuration; null when the call fails.
Json jsonText(IKvDMConfiguration9& configuration, HRESULT (IKvDMConfiguration9::*get)(BSTR*))
{
    OwnedBstr name;
    return FAILED((configuration.*get)(name.put())) ? Json() : jsonText(name.view());
}

Json jsonConfigurationNumber(IKvDMConfiguration9& configuration, HRESULT (IKvDMConfiguration9::*get)(LONG*))
{
    LONG number = 0;
    return FAILED((configuration.*get)(&number)) ? Json() : Json(number);
}

Json jsonMassProperties(IKvDMConfiguration9& configuration)
{
    KvDmMassPropError error = kvDmMassPropErrorUnknown;
    OwnedVariant figures;
    configuration.GetMassProperties(&error, figures.put());
    Json values = Json::array();
    if (error == kvDmMassPropErrorNone)
        for (const double figure : reals(figures.get()))
            values.push_back(figure);
    return {{"error", static_cast<LONG>(error)}, {"values", std::move(values)}};
}

Json jsonConfiguration(IKvDMConfiguration9& configuration)
{
    return {{"name", jsonText(configuration, &IKvDMConfiguration9::get_Name)},
            {"streamName", jsonText(configuration, &IKvDMConfiguration9::get_StreamName)},
            {"description", jsonText(configuration, &IKvDMConfiguration9::get_Description)},
            {"comment", jsonText(configuration, &IKvDMConfiguration9::get_Comment)},
            {"alternateName", jsonText(configuration, &IKvDMConfiguration9::get_AlternateName)},
            {"parent", jsonText(configuration, &IKvDMConfiguration9::GetParentConfigurationName)},
            {"lastUpdateStamp", jsonConfigurationNumber(configuration, &IKvDMConfiguration9::GetLastUpdateStamp)},
            {"customProperties", jsonProperties(customProperties(configuration))},
            {"massProperties", jsonMassProperties(configuration)},
            {"previewStreamName", jsonText(configuration, &IKvDMConfiguration9::get_PreviewStreamName)},
            {"previewPNGStreamName", jsonText(configuration, &IKvDMConfiguration9::get_PreviewPNGStreamName)},
            {"partitionStreamName", jsonText(configuration, &IKvDMConfiguration9::get_PartitionStreamName)},
            {"bodiesCount", jsonConfigurationNumber(configuration, &IKvDMConfiguration9::GetBodiesCount)},
            {"importedBodiesCount", jsonConfigurationNumber(configuration, &IKvDMConfiguration9::GetImportedBodiesCount)},
            {"components", Json::array()},
            {"references", Json::array()}};
}

Json jsonConfigurations(const Document& document)
{
    Json result = {{"count", Json()}, {"active", Json()}, {"items", Json::array()}};
    ComPtr<IKvDMConfigurationMgr> manager;
    if (FAILED(document->get_ConfigurationManager(manager.put())) || !manager)
        return result;
    LONG count = 0;
    if (SUCCEEDED(manager->GetConfigurationCount(&count)))
        result["count"] = count;
    OwnedBstr active;
    if (SUCCEEDED(manager->GetActiveConfigurationName(active.put())))
        result["active"] = jsonText(active.view());
    for (const auto& configuration : configurations(*manager))
        result["items"].push_back(jsonConfiguration(*configuration));
    return result;
}

Json jsonExternalReferences(const Document& document)
{
    Json list = Json::array();
    OwnedVariant broken, isVirtual, files;
    if (FAILED(document->GetAllExternalReferences3(nullptr, broken.put(), isVirtual.put(), files.put())))
        return list;
    const auto paths = texts(files.get());
    const auto states = numbers(broken.get());
    const auto flags = numbers(isVirtual.get());
    for (std::size_t i = 0; i < paths.size(); ++i)
        list.push_back({{"path", jsonText(paths[i])},
                        {"status", i < states.size() ? Json(states[i]) : Json()},
                        {"isVirtual", i < flags.size() ? Json(flags[i]) : Json()}});
    return list;
}

Json jsonPreview(const Document& document, HRESULT (IKvDMDocument12::*name)(BSTR*), HRESULT (IKvDMDocument12::*get)(KvDmPreviewError*, IDispatch**))
{
    OwnedBstr streamName;
    const bool named = SUCCEEDED(((*document).*name)(streamName.put()));
    KvDmPreviewError error = kvDmPreviewErrorNoPreview;
    ComPtr<IDispatch> picture;
    ((*document).*get)(&error, picture.put());
    LONG width = 0;
    LONG height = 0;
    ComPtr<IKvPicture> pixels;
    const bool sized = picture && SUCCEEDED(picture->QueryInterface(IID_IKvPicture, pixels.putVoid())) && SUCCEEDED(pixels->get_Width(&width)) &&
                       SUCCEEDED(pixels->get_Height(&height));
    return {{"streamName", named ? jsonText(streamName.view()) : Json()},
            {"error", static_cast<LONG>(error)},
            {"width", sized ? Json(width) : Json()},
            {"height", sized ? Json(height) : Json()}};
}

Json dump(const std::string& file, const Document& document)
{
    Json json = {{"fullName", file}, {"openError", static_cast<LONG>(document.error())}};
    if (document.error() != kvDmDocumentOpenErrorNone)
        return json;
    json["fullName"] = jsonOptional(document.text(&IKvDMDocument::get_FullName));
    json["version"] = jsonVersion(document);
    json["lastUpdateStamp"] = jsonNumber<LONG>(document, &IKvDMDocument12::GetLastUpdateStamp);
    json["summary"] = jsonSummary(document);
    json["customProperties"] = jsonProperties(customProperties(*document));
    json["invisibleCustomProperties"] = jsonProperties(invisibleProperties(*document));
    json["hyperlinks"] = jsonTexts(document.hyperLinks());
    json["detachedDrawing"] = jsonFlag(document, &IKvDMDocument12::IsDetachedDrawing);
    json["smartComponent"] = jsonFlag(document, &IKvDMDocument12::IsSmartComponentDocument);
    json["toolboxPart"] = jsonNumber<KvDmToolboxPartType>(document, &IKvDMDocument12::get_ToolboxPart, kvDmNotAToolboxPart);
    json["sheetCount"] = jsonNumber<LONG>(document, &IKvDMDocument12::GetSheetCount);
    OwnedBstr sheet;
    json["activeSheetName"] = SUCCEEDED(document->GetActiveSheetName(sheet.put())) ? jsonText(sheet.view()) : Json();
    json["sheetNames"] = jsonTextArray(document, &IKvDMDocument12::GetSheetNames);
    json["linkedAttachments"] = jsonTextArray(document, &IKvDMDocument12::GetLinkedAttachments);
    json["componentCount"] = jsonNumber<LONG>(document, &IKvDMDocument12::GetComponentCount);
    json["configurations"] = jsonConfigurations(document);
    json["externalReferences"] = jsonExternalReferences(document);
    json["preview"] = jsonPreview(document, &IKvDMDocument12::get_PreviewStreamName, &IKvDMDocument12::GetPreviewBitmap);
    json["previewPNG"] = jsonPreview(document, &IKvDMDocument12::get_PreviewPNGStreamName, &IKvDMDocument12::GetPreviewPNGBitmap);
    for (const char* key : {"tables", "sheets", "views", "cutListItems"})
        json[key] = Json::array();
    ComPtr<ICommonCadDocument> neutral;
    OwnedBstr tags;
    const bool tagged = SUCCEEDED(document->QueryInterface(IID_ICommonCadDocument, neutral.putVoid())) && SUCCEEDED(neutral->GetTags(tags.put()));
    json["tags"] = tagged ? jsonText(tags.view()) : Json();
    return json;
}

} // namespace

void addDump(CLI::App& app, int& exitCode)
{
    struct Options
    {
        std::vector<std::string> files;
        bool pretty = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("dump", "Prints everything that a document answers, one JSON object a file");
    command->add_option("FILE", options->files, "Documents; one that is missing or cannot be read has its object too")->required();
    command->add_flag("--pretty", options->pretty, "Indents the JSON");
    teach(*command, "  kvdm dump part.kvdprt --pretty | less\n"
                    "  kvdm dump *.kvdasm | jq -r 'select(.openError == 0) | [.fullName, .version] | @tsv'");
    command->callback([options, &exitCode] {
        exitCode = forEachFile(options->files, [&](const std::string& file) {
            const Document document(file);
            std::cout << dump(file, document).dump(options->pretty ? 2 : -1, ' ', false, Json::error_handler_t::replace) << '\n';
            document.requireReadable();
        });
    });
}

} // namespace kvdm::tool
