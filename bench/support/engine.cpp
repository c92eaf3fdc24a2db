#include "support/engine.h"

#include "support/pageBuffer.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace kvdm::bench::engine {

namespace {

constexpr DWORD readExclusive = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr DWORD writeExclusive = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

void require(HRESULT status, const char* what)
{
    if (FAILED(status))
        throw std::runtime_error(std::string(what) + " failed");
}

ComPtr<IStorage> create(const std::string& path)
{
    ComPtr<IStorage> storage;
    const OwnedBstr name(fromUtf8(path, IllFormed::keep));
    require(StgCreateDocfile(name.get(), STGM_CREATE | STGM_TRANSACTED | writeExclusive, 0, storage.put()), "StgCreateDocfile");
    return storage;
}

} // namespace

ComPtr<IStorage> open(const std::string& path)
{
    ComPtr<IStorage> storage;
    const OwnedBstr name(fromUtf8(path, IllFormed::keep));
    require(StgOpenStorage(name.get(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, storage.put()), "StgOpenStorage");
    return storage;
}

std::uint64_t readByBlocks(IStorage& storage, const char16_t* stream, std::size_t block)
{
    ComPtr<IStream> input;
    require(storage.OpenStream(stream, nullptr, readExclusive, 0, input.put()), "OpenStream");
    const PageBuffer buffer(block);
    std::uint64_t total = 0;
    for (ULONG read = 1; read > 0; total += read)
        require(input->Read(buffer.data(), static_cast<ULONG>(block), &read), "Read");
    return total;
}

std::uint64_t readEveryStream(IStorage& storage)
{
    ComPtr<IEnumSTATSTG> elements;
    require(storage.EnumElements(0, nullptr, 0, elements.put()), "EnumElements");
    std::vector<std::uint8_t> buffer;
    std::uint64_t total = 0;
    STATSTG element{};
    while (elements->Next(1, &element, nullptr) == S_OK) {
        ComPtr<IStream> input;
        const HRESULT opened = storage.OpenStream(element.pwcsName, nullptr, readExclusive, 0, input.put());
        CoTaskMemFree(element.pwcsName);
        require(opened, "OpenStream");
        buffer.resize(element.cbSize.QuadPart);
        ULONG read = 0;
        require(input->Read(buffer.data(), static_cast<ULONG>(buffer.size()), &read), "Read");
        total += read;
    }
    return total;
}

void writeByBlocks(const std::string& path, const char16_t* stream, std::uint64_t size, std::size_t block)
{
    const ComPtr<IStorage> storage = create(path);
    ComPtr<IStream> output;
    require(storage->CreateStream(stream, writeExclusive, 0, 0, output.put()), "CreateStream");
    const std::vector<std::uint8_t> buffer(block, 'Z');
    for (std::uint64_t left = size; left > 0;) {
        const ULONG count = static_cast<ULONG>(std::min<std::uint64_t>(left, block));
        require(output->Write(buffer.data(), count, nullptr), "Write");
        left -= count;
    }
    output.reset();
    require(storage->Commit(STGC_DEFAULT), "Commit");
}

std::uint64_t writeManyStreams(const std::string& path, std::size_t count)
{
    const ComPtr<IStorage> storage = create(path);
    const std::vector<std::uint8_t> buffer(1000, 'Z');
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string digits = std::to_string(i * 7919 % count);
        const std::u16string name = u"Config-" + std::u16string(digits.begin(), digits.end());
        const ULONG size = static_cast<ULONG>(20 + i % 900);
        ComPtr<IStream> output;
        require(storage->CreateStream(name.c_str(), writeExclusive, 0, 0, output.put()), "CreateStream");
        require(output->Write(buffer.data(), size, nullptr), "Write");
        total += size;
    }
    require(storage->Commit(STGC_DEFAULT), "Commit");
    return total;
}

} // namespace kvdm::bench::engine
