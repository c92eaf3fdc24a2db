// Files that the engine wrote, read by programs that share nothing with it. Where a program is not installed its part is left out.
#include "support/StorageTools.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

namespace kvdm::test {
namespace {

constexpr char readWithOlefile[] = R"(import olefile, sys, zlib
with olefile.OleFileIO(sys.argv[1]) as file:
    for path in file.listdir(streams=True, storages=False):
        print('/'.join(path), zlib.crc32(file.openstream(path).read()))
)";

// What a command prints; none when it fails.
std::optional<std::string> outputOf(const std::string& command)
{
    FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
    if (!pipe)
        return std::nullopt;
    std::string output;
    std::array<char, 65536> block;
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), pipe))
        output.append(block.data(), got);
    return pclose(pipe) == 0 ? std::optional(output) : std::nullopt;
}

std::set<std::string> linesOf(const std::optional<std::string>& text)
{
    std::set<std::string> lines;
    std::istringstream stream(text.value_or(""));
    for (std::string line; std::getline(stream, line);)
        lines.insert(line);
    return lines;
}

std::uint32_t crc(const Bytes& bytes)
{
    std::uint32_t value = ~0u;
    for (const std::uint8_t byte : bytes) {
        value ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            value = value >> 1 ^ (0xEDB88320u & (0u - (value & 1)));
    }
    return ~value;
}

std::string narrow(const std::u16string& text)
{
    return {text.begin(), text.end()}; // all names here are ASCII
}

// A file of several commits, with as many children in one storage.
Tree writeFile(const std::string& path, unsigned version, std::size_t children)
{
    EXPECT_TRUE(CompoundFileBuilder(version).write(path)); // empty: all that is in it comes from the engine
    ComPtr<IStorage> root, many, deep;
    EXPECT_EQ(StgOpenStorage(std::u16string(path.begin(), path.end()).c_str(), nullptr, 0x10022, nullptr, 0, root.put()), S_OK);
    EXPECT_EQ(root->CreateStorage(u"many", writeElement, 0, 0, many.put()), S_OK);
    for (std::size_t i = 0; i < children; ++i) {
        const std::string digits = std::to_string(i);
        EXPECT_TRUE(writeStream(*many, u"child " + std::u16string(digits.begin(), digits.end()), patternBytes(i * 37 % 1500, i)));
    }
    EXPECT_EQ(root->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(many->CreateStorage(u"deep", writeElement, 0, 0, deep.put()), S_OK);
    for (const std::size_t size : {0, 63, 64, 65, 511, 512, 513, 4095, 4096, 4097, 7087616}) {
        const std::string digits = std::to_string(size);
        EXPECT_TRUE(writeStream(*deep, u"of " + std::u16string(digits.begin(), digits.end()), patternBytes(size, static_cast<std::uint32_t>(size))));
    }
    EXPECT_EQ(root->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(many->DestroyElement(u"child 0"), S_OK);
    EXPECT_TRUE(writeStream(*deep, u"of 4096", patternBytes(100000)));
    EXPECT_EQ(root->Commit(STGC_DEFAULT), S_OK);
    deep.reset();
    many.reset();
    return readTree(*root);
}

TEST(IndependentReaders, SeeWhatTheEngineWrote)
{
    const TemporaryFolder folder;
    const std::string script = folder / "read.py";
    ASSERT_TRUE(writeWholeFile(script, Bytes(readWithOlefile, readWithOlefile + sizeof readWithOlefile - 1)));
    const bool has7z = outputOf("7z i").has_value(), hasGsf = outputOf("gsf help").has_value();
    std::string python;
    for (const char* candidate : {"python3", "/usr/bin/python3"}) {
        if (outputOf(std::string(candidate) + " -c 'import olefile'"))
            python = candidate;
    }
    if (!has7z && !hasGsf && python.empty())
        GTEST_SKIP() << "none of 7z, gsf and olefile is installed";
    for (const unsigned version : {3u, 4u}) {
        for (const std::size_t children : {1u, 100u, 10000u}) {
            if (children > 1000 && !std::getenv("KVDM_TEST_FULL"))
                continue; // they take long to read it
            SCOPED_TRACE("version " + std::to_string(version) + ", " + std::to_string(children) + " children");
            const std::string path = folder / "file";
            const Tree tree = writeFile(path, version, children);
            ASSERT_EQ(tree.size(), children - 1 + 11 + 2);
            std::set<std::string> streams;
            for (const auto& [name, bytes] : tree) {
                if (name.back() != u'/')
                    streams.insert(narrow(name) + " " + std::to_string(crc(bytes)));
            }
            if (!python.empty()) {
                EXPECT_TRUE(linesOf(outputOf(python + " " + script + " " + path)) == streams) << "olefile";
            }
            const std::string extracted = folder / ("out" + std::to_string(version) + "-" + std::to_string(children));
            if (has7z) {
                EXPECT_TRUE(outputOf("7z x -y -tCompound -o" + extracted + " " + path)) << "7z";
                std::size_t files = 0;
                for (const auto& each : std::filesystem::recursive_directory_iterator(extracted))
                    files += each.is_regular_file() ? 1 : 0;
                EXPECT_EQ(files, streams.size()) << "7z";
            }
            std::size_t asked = 0;
            for (const auto& [name, bytes] : tree) {
                if (name.back() == u'/')
                    continue;
                if (has7z) {
                    EXPECT_TRUE(readWholeFile(extracted + "/" + narrow(name)) == bytes) << "7z: " << narrow(name);
                }
                if (!hasGsf || (name.find(u"deep") == name.npos && ++asked > 30))
                    continue; // a process for each of them
                const std::optional<std::string> output = outputOf("gsf cat " + path + " '" + narrow(name) + "'");
                EXPECT_TRUE(output && Bytes(output->begin(), output->end()) == bytes) << "gsf: " << narrow(name);
            }
            if (hasGsf) {
                EXPECT_EQ(linesOf(outputOf("gsf list " + path + " | grep ^f")).size(), streams.size()) << "gsf";
            }
        }
    }
}

} // namespace
} // namespace kvdm::test
