// kvdm cat: the bytes of one stream.
#include "client.h"
#include "commands.h"
#include "nodes.h"
#include "terminal.h"

#include <fmt/format.h>

#include <iostream>

namespace kvdm::tool {

namespace {

// Names joined by "/"; "\x05" stands for the character of that number and "\\" for a backslash.
std::vector<std::u16string> splitNode(const std::string& node)
{
    std::vector<std::u16string> names(1);
    const std::u16string text = fromUtf8(node);
    const auto hex = [](char16_t unit) -> int {
        return unit >= u'0' && unit <= u'9'   ? unit - u'0'
               : unit >= u'a' && unit <= u'f' ? unit - u'a' + 10
               : unit >= u'A' && unit <= u'F' ? unit - u'A' + 10
                                              : -1;
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool coded = text[i] == u'\\' && i + 3 < text.size() && text[i + 1] == u'x' && hex(text[i + 2]) >= 0 && hex(text[i + 3]) >= 0;
        if (coded) {
            names.back() += static_cast<char16_t>(hex(text[i + 2]) * 16 + hex(text[i + 3]));
            i += 3;
        } else if (text[i] == u'\\' && i + 1 < text.size() && text[i + 1] == u'\\') {
            names.back() += text[++i];
        } else if (text[i] == u'/') {
            names.emplace_back();
        } else {
            names.back() += text[i];
        }
    }
    return names;
}

void print(const std::string& file, const std::string& node, bool stored)
{
    ComPtr<IStorage> storage = openCompoundFile(file);
    std::vector<std::u16string> names = splitNode(node);
    const auto missing = [&] { return Failure(fmt::format("{}: no stream {} ('kvdm ls' shows the names)", file, inQuotes(node))); };
    std::vector<ComPtr<IStorage>> parents; // a storage lives as long as those it stands in
    for (std::size_t i = 0; i + 1 < names.size(); ++i) {
        const ComPtr<IStorage> child = openStorage(*storage, names[i]);
        if (!child)
            throw missing();
        parents.push_back(std::exchange(storage, child));
    }
    const auto write = [](const void* bytes, std::size_t count) {
        std::cout.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(count));
    };
    // A name without its suffix finds the compressed form, as a document's reader does.
    std::vector<std::u16string> forms = {names.back()};
    if (!stored)
        forms = {names.back() + u"__ZLB", names.back(), names.back() + u"__Zip"};
    try {
        for (const std::u16string& form : forms)
            if (readStream(*storage, form, !stored, write))
                return;
    } catch (const Failure& failure) {
        throw Failure(fmt::format("{}: {}: {}", file, node, failure.what()));
    }
    throw missing();
}

} // namespace

void addCat(CLI::App& app, int& exitCode)
{
    struct Options
    {
        std::string file;
        std::string node;
        bool stored = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("cat", "Writes the decoded bytes of one stream to standard output");
    command->add_option("FILE", options->file, "A compound file")->required();
    command->add_option("NODE", options->node, "The stream: names joined by '/', a control character written '\\x05'")->required();
    command->add_flag("--stored", options->stored, "The bytes as they lie, not decoded");
    teach(*command, "  kvdm cat part.kvdprt Contents/CMgrHdr2 > header.bin\n"
                    "  kvdm cat part.kvdprt '\\x05SummaryInformation' | xxd | head\n"
                    "  kvdm cat --stored part.kvdprt Preview__ZLB | wc -c");
    command->callback([options, &exitCode] {
        exitCode = forEachFile({options->file}, [&](const std::string& file) { print(file, options->node, options->stored); });
    });
}

} // namespace kvdm::tool
