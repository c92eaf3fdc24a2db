#include "support/engine.h"

#include <stdexcept>
#include <vector>

namespace kvdm::bench::engine {

namespace {

constexpr DWORD readExclusive = STGM_READ | STGM_SHARE_EXCLUSIVE;

void require(HRESULT status, const char* what)
{
    if (FAILED(status))
        throw std::runtime_error(std::string(what) + " failed");
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
    std::vector<std::uint8_t> buffer(block);
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

} // namespace kvdm::bench::engine
