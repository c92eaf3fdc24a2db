// kvdm ls: the storages and streams of any compound file.
#include "client.h"
#include "commands.h"
#include "nodes.h"
#include "terminal.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <iostream>

namespace kvdm::tool {

namespace {

using Json = nlohmann::ordered_json;

// Bytes that come out of a compressed stream; of a plain one its size. Empty when the stream does not decode.
std::optional<std::uint64_t> decodedSize(const Node& node, const std::string& form, IStorage& parent)
{
    if (form == "plain")
        return node.bytes;
    std::uint64_t size = 0;
    try {
        readStream(parent, node.path.back(), true, [&](const void*, std::size_t count) { size += count; });
    } catch (const Failure&) {
        return std::nullopt;
    }
    return size;
}

// Both are false when the file has more levels than are shown.
bool listAsJson(IStorage& root)
{
    Json list = Json::array();
    const bool whole = walk(root, [&](const Node& node, IStorage& parent) {
        Json path = Json::array();
        for (const std::u16string& name : node.path)
            path.push_back(toUtf8(name));
        const std::string form = formOf(node);
        const auto decoded = node.isStorage ? std::optional<std::uint64_t>(0) : decodedSize(node, form, parent);
        list.push_back({{"path", std::move(path)},
                        {"kind", node.isStorage ? "storage" : "stream"},
                        {"bytes", node.bytes},
                        {"form", form},
                        {"decodedBytes", decoded ? Json(*decoded) : Json()}});
    });
    std::cout << list.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
    return whole;
}

bool listAsTree(IStorage& root)
{
    return walk(root, [](const Node& node, IStorage& parent) {
        const std::string indent(2 * (node.path.size() - 1), ' ');
        const std::string name = printable(node.path.back());
        if (node.isStorage) {
            std::cout << indent << coloured(name + "/", 4) << '\n';
            return;
        }
        const std::string form = formOf(node);
        const std::string sizes = form == "plain" ? fmt::format("{}", node.bytes) : [&] {
            const auto decoded = decodedSize(node, form, parent);
            return fmt::format("{} {} {}", node.bytes, form, decoded ? fmt::format("-> {}", *decoded) : "does not decode");
        }();
        std::cout << padded(indent + name, 44) << faint(fmt::format("{:>10}", sizes)) << '\n';
    });
}

} // namespace

void addLs(CLI::App& app, int& exitCode)
{
    struct Options
    {
        std::vector<std::string> files;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("ls", "Lists the storages and streams of any compound file, with stored and decoded sizes");
    command->add_option("FILE", options->files, "Compound files")->required();
    command->add_flag("--json", options->json, "An array of {path, kind, bytes, form, decodedBytes}");
    teach(*command, "  kvdm ls part.kvdprt\n"
                    "  kvdm ls --json part.kvdprt | jq -r '.[] | select(.form != \"plain\") | .path | join(\"/\")'");
    command->callback([options, &exitCode] {
        exitCode = forEachFile(options->files, [&](const std::string& file) {
            const ComPtr<IStorage> root = openCompoundFile(file);
            if (options->files.size() > 1 && !options->json)
                std::cout << bold(file) << '\n';
            if (!(options->json ? listAsJson(*root) : listAsTree(*root)))
                throw Failure(file + ": storages below the 256th level are not listed");
        });
    });
}

} // namespace kvdm::tool
