#include "support/documents.h"

#include <kvdocmgr/kvdocmgr.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace kvdm::bench {

namespace {

constexpr DWORD readDenyWrite = STGM_READ | STGM_SHARE_DENY_WRITE;
constexpr DWORD readExclusive = STGM_READ | STGM_SHARE_EXCLUSIVE;
const std::string sampleFolder = KVDM_SOURCE_DIR "/tests/corpus/";

void require(HRESULT status, const std::string& what)
{
    if (FAILED(status))
        throw std::runtime_error(what + " failed");
}

test::Bytes readStream(IStorage& storage, LPOLESTR name, std::uint64_t size)
{
    ComPtr<IStream> stream;
    require(storage.OpenStream(name, nullptr, readExclusive, 0, stream.put()), "opening a stream of the sample");
    test::Bytes bytes(size);
    ULONG read = 0;
    require(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read), "reading a stream of the sample");
    if (read != size)
        throw std::runtime_error("a stream of the sample is shorter than told");
    return bytes;
}

void copyInto(test::BuilderNode& target, IStorage& source)
{
    ComPtr<IEnumSTATSTG> elements;
    require(source.EnumElements(0, nullptr, 0, elements.put()), "listing the sample");
    STATSTG element{};
    while (elements->Next(1, &element, nullptr) == S_OK) {
        const std::u16string name(element.pwcsName);
        if (element.type == STGTY_STORAGE) {
            ComPtr<IStorage> child;
            require(source.OpenStorage(element.pwcsName, nullptr, readExclusive, nullptr, 0, child.put()), "opening a storage of the sample");
            copyInto(target.storage(name), *child);
        } else {
            target.stream(name, readStream(source, element.pwcsName, element.cbSize.QuadPart));
        }
        CoTaskMemFree(element.pwcsName);
    }
}

std::vector<std::string> copySamples(const TemporaryFolder& folder, std::size_t count, const std::vector<const char*>& samples)
{
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < count; ++i) {
        const std::filesystem::path sample = sampleFolder + samples[i % samples.size()];
        paths.push_back(folder.file("document" + std::to_string(i) + sample.extension().string()));
        std::filesystem::copy_file(sample, paths.back());
    }
    return paths;
}

} // namespace

TemporaryFolder::TemporaryFolder()
{
    folder = (std::filesystem::temp_directory_path() / "kvdm-bench-XXXXXX").string();
    if (!mkdtemp(folder.data()))
        throw std::runtime_error("no temporary folder can be made");
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

void makeLargeDocument(const std::string& path, std::uint64_t bytes, const test::CompoundFileBuilder::Options& options)
{
    const std::string samplePath = sampleFolder + "bracket.kvdprt";
    ComPtr<IStorage> sample;
    const OwnedBstr name(fromUtf8(samplePath, IllFormed::keep));
    require(StgOpenStorage(name.get(), nullptr, readDenyWrite, nullptr, 0, sample.put()), "opening " + samplePath);
    test::CompoundFileBuilder builder(options);
    copyInto(builder.root(), *sample);
    const std::uint64_t rest = std::filesystem::file_size(samplePath);
    builder.root().filled(u"Body", bytes > rest ? bytes - rest : 4096);
    if (!builder.write(path))
        throw std::runtime_error(path + " cannot be written");
}

std::vector<std::string> makeSmallDocuments(const TemporaryFolder& folder, std::size_t count)
{
    return copySamples(folder, count,
                       {"bracket.kvdprt", "gearbox.kvdasm", "gearbox.kvddrw", "vault/assemblies/winch.kvdasm", "vault/parts/shaft.kvdprt",
                        "vault/drawings/winch.kvddrw", "forms/header-zlb.kvdprt", "forms/header-plain.kvdprt"});
}

std::vector<std::string> makePreviewDocuments(const TemporaryFolder& folder, std::size_t count)
{
    return copySamples(folder, count, {"bracket.kvdprt", "gearbox.kvddrw", "mixed/m01.kvddrw", "mixed/m02.kvdasm"});
}

void makeDenseFile(const std::string& path, const test::CompoundFileBuilder& builder)
{
    const std::string draft = path + ".draft";
    std::ofstream file(path, std::ios::binary);
    if (!builder.write(draft))
        throw std::runtime_error(draft + " cannot be written");
    std::ifstream source(draft, std::ios::binary);
    std::string block(1 << 20, '\0');
    while (source.read(block.data(), static_cast<std::streamsize>(block.size())).gcount() > 0)
        file.write(block.data(), source.gcount());
    if (!file.flush())
        throw std::runtime_error(path + " cannot be written");
    std::filesystem::remove(draft);
}

void makePlainFile(const std::string& path, std::uint64_t bytes)
{
    std::ofstream file(path, std::ios::binary);
    const std::string block(1 << 20, 'Z');
    for (std::uint64_t at = 0; at < bytes && file; at += block.size())
        file.write(block.data(), static_cast<std::streamsize>(std::min<std::uint64_t>(block.size(), bytes - at)));
    if (!file.flush())
        throw std::runtime_error(path + " cannot be written");
}

} // namespace kvdm::bench
