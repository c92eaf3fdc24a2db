#include "support/DocumentBuilder.h"

#include <algorithm>

namespace kvdm::test {

namespace {

constexpr std::uint32_t firstId = 2;
constexpr std::uint32_t companionOffset = 0x01000000;

Bytes bytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

std::u16string wide(const std::string& ascii)
{
    return {ascii.begin(), ascii.end()};
}

std::string wideTextItem(const std::u16string& text)
{
    const std::string units(reinterpret_cast<const char*>(text.c_str()), 2 * text.size() + 2);
    return le32(31) + le32(static_cast<std::uint32_t>(text.size() + 1)) + padded(units);
}

// A link list as a property: six items a link, four numbers, the path and an empty text.
std::string linksValue(const std::vector<std::u16string>& links)
{
    std::string items = le32(static_cast<std::uint32_t>(6 * links.size()));
    for (const std::u16string& link : links) {
        for (int i = 0; i < 4; ++i)
            items += numberValue(0);
        items += wideTextItem(link) + wideTextItem({});
    }
    return le32(65) + le32(static_cast<std::uint32_t>(items.size())) + items;
}

RawValues sectionOf(const std::vector<std::pair<std::string, std::string>>& properties)
{
    std::vector<std::pair<std::uint32_t, std::string>> names;
    RawValues values;
    for (const auto& [name, value] : properties) {
        const auto id = static_cast<std::uint32_t>(firstId + names.size());
        names.emplace_back(id, name);
        values.emplace_back(id, value);
    }
    values.insert(values.begin(), {0, dictionary(names)});
    return values;
}

} // namespace

DocumentBuilder::DocumentBuilder(int version) : root(file.root()), contents(root.storage(u"Contents")), xmlContents(root.storage(u"kvXmlContents"))
{
    header.version = version;
    root.storage(u"_MO_VERSION_" + wide(std::to_string(version)));
    root.storage(u"_DL_VERSION_7");
}

DocumentBuilder& DocumentBuilder::iAdd(Properties& list, std::string name, std::string value)
{
    list.emplace_back(std::move(name), std::move(value));
    return *this;
}

DocumentBuilder& DocumentBuilder::linked(std::string name, std::string value, std::string link)
{
    companions.emplace_back(static_cast<std::uint32_t>(firstId + visibleProperties.size() + companionOffset), textValue(link));
    return visible(std::move(name), textValue(value));
}

DocumentBuilder& DocumentBuilder::links(const std::vector<std::u16string>& saved, const std::vector<std::u16string>& wanted)
{
    return invisible("_PID_HLINKS", linksValue(saved)).visible("_PID_HLINKS", linksValue(wanted));
}

DocumentBuilder& DocumentBuilder::summary(std::uint32_t id, std::string value)
{
    summaryValues.emplace_back(id, std::move(value));
    return *this;
}

DocumentBuilder& DocumentBuilder::ofConfiguration(std::uint32_t id, const std::vector<std::pair<std::string, std::string>>& properties)
{
    root.stream(u"Config-" + wide(std::to_string(id)) + u"-Properties", bytesOf(userStream(sectionOf(properties))));
    return *this;
}

CompoundFileBuilder& DocumentBuilder::iFinish()
{
    if (finished)
        return file;
    finished = true;
    const int version = header.version;
    if (withHeader)
        root.stream(version < 2070 ? u"Header" : u"Header2", headerStream(header));
    if (withConfigurations)
        contents.stream(version < 2070 ? u"CMgrHdr" : u"CMgrHdr2", configMgrHeaderStream(version, false, configurations));
    if (!visibleProperties.empty()) {
        RawValues values = sectionOf(visibleProperties);
        values.insert(values.end(), companions.begin(), companions.end());
        root.stream(u"\u0005DocumentSummaryInformation", bytesOf(visibleStream(values)));
    }
    if (!invisibleProperties.empty())
        root.stream(u"IKestrovaneInformation", bytesOf(userStream(sectionOf(invisibleProperties))));
    if (!summaryValues.empty())
        root.stream(u"\u0005SummaryInformation", bytesOf(rawSet(summaryGuid, {{summaryGuid, rawSection(summaryValues)}})));
    return file;
}

Bytes zlbNode(std::string_view content)
{
    constexpr std::size_t blockSize = 0x100000;
    constexpr std::size_t pieceSize = 0xFFFF;
    std::string out = fromHex("231dd571da8148a2a85898b21b89ef99");
    while (!content.empty()) {
        const std::string_view block = content.substr(0, blockSize);
        content.remove_prefix(block.size());
        std::string packed = fromHex("7801");
        for (std::size_t at = 0; at < block.size(); at += pieceSize) {
            const std::string_view piece = block.substr(at, pieceSize);
            packed += le(at + piece.size() == block.size(), 1) + le16(static_cast<std::uint16_t>(piece.size())) +
                      le16(static_cast<std::uint16_t>(~piece.size()));
            packed += piece;
        }
        std::uint32_t low = 1;
        std::uint32_t high = 0;
        for (const char byte : block) {
            low = (low + static_cast<std::uint8_t>(byte)) % 65521;
            high = (high + low) % 65521;
        }
        for (const std::uint32_t part : {high >> 8, high & 0xFF, low >> 8, low & 0xFF})
            packed += static_cast<char>(part);
        out += le32(static_cast<std::uint32_t>(block.size())) + le32(static_cast<std::uint32_t>(packed.size())) + packed;
    }
    return bytesOf(out + le32(0) + le32(0));
}

} // namespace kvdm::test
