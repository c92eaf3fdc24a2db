// Makes whole documents for tests without the library: markers, headers, property streams, compressed nodes.
//
//     DocumentBuilder document(3800);
//     document.visible("Material", textValue("Steel")).invisible("IsToolboxPart", numberValue(2));
//     document.contents.stream(u"eModel__ZLB", zlbNode("content"));
//     document.write(path);                       // or build()
#pragma once

#include "properties/propertyBytes.h"
#include "support/ArchiveBuilder.h"
#include "support/CompoundFileBuilder.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kvdm::test {

class DocumentBuilder
{
public:
    // The root holds both version markers and the two storages below: enough elements for the version to be looked for.
    explicit DocumentBuilder(int version = 3800);

    // Custom properties; the values are those of propertyBytes.h.
    DocumentBuilder& visible(std::string name, std::string value) { return iAdd(visibleProperties, std::move(name), std::move(value)); }
    DocumentBuilder& invisible(std::string name, std::string value) { return iAdd(invisibleProperties, std::move(name), std::move(value)); }
    // A text property with the text of the link that made it.
    DocumentBuilder& linked(std::string name, std::string value, std::string link);
    // The link list as saved (invisible) and as wanted (visible).
    DocumentBuilder& links(const std::vector<std::u16string>& saved, const std::vector<std::u16string>& wanted);
    DocumentBuilder& summary(std::uint32_t id, std::string value);
    // Custom properties of the configuration with that id.
    DocumentBuilder& ofConfiguration(std::uint32_t id, const std::vector<std::pair<std::string, std::string>>& properties);

    Bytes build() { return iFinish().build(); }
    const BuilderNode& made() { return iFinish().root(); } // all elements
    bool write(const std::string& path) { return writeWholeFile(path, build()); }

private:
    using Properties = std::vector<std::pair<std::string, std::string>>;
    DocumentBuilder& iAdd(Properties& list, std::string name, std::string value);
    CompoundFileBuilder& iFinish();

    CompoundFileBuilder file;
    Properties visibleProperties;
    Properties invisibleProperties;
    RawValues companions;
    RawValues summaryValues;
    bool finished = false;

public:
    HeaderSample header;    // what the header stream is made of
    bool withHeader = true; //
    std::vector<ConfigurationSample> configurations = twoConfigurations();
    bool withConfigurations = true; // their list
    BuilderNode& root;              // for what a test adds itself
    BuilderNode& contents;          // "Contents", with the header of the configurations
    BuilderNode& xmlContents;       // "kvXmlContents"
};

// The current compressed form of a content, with blocks of stored (not packed) data.
Bytes zlbNode(std::string_view content);

} // namespace kvdm::test
