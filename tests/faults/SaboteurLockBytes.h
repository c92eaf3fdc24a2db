// A byte array that remembers everything that was done to it, so that any instant of a power cut can be made afterwards, and
// that can be told to fail.
#pragma once

#include "common/automationObject.h"
#include "support/StorageTools.h"

#include <algorithm>
#include <random>

namespace kvdm::test {

class SaboteurLockBytes final : public SharedObject<ILockBytes>
{
public:
    struct Event
    {
        enum Kind
        {
            write,
            resize,
            flush
        } kind;
        std::uint64_t offset; // or the size
        Bytes bytes;
    };

    explicit SaboteurLockBytes(Bytes content) : bytes(std::move(content)) {}

    HRESULT STDMETHODCALLTYPE ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) override
    {
        const auto at = static_cast<std::size_t>(std::min<std::uint64_t>(offset.QuadPart, bytes.size()));
        *read = static_cast<ULONG>(std::min<std::size_t>(count, bytes.size() - at));
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), *read, static_cast<std::uint8_t*>(buffer));
        return iMayGoOn() ? S_OK : STG_E_READFAULT;
    }
    HRESULT STDMETHODCALLTYPE WriteAt(ULARGE_INTEGER offset, const void* buffer, ULONG count, ULONG* written) override
    {
        if (!iMayGoOn())
            return STG_E_MEDIUMFULL;
        const auto* from = static_cast<const std::uint8_t*>(buffer);
        if (records)
            events.push_back({Event::write, offset.QuadPart, Bytes(from, from + count)});
        apply({Event::write, offset.QuadPart, Bytes(from, from + count)}, bytes);
        *written = count;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Flush() override
    {
        if (!iMayGoOn())
            return STG_E_WRITEFAULT;
        if (records)
            events.push_back({Event::flush, 0, {}});
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override
    {
        if (!iMayGoOn())
            return STG_E_MEDIUMFULL;
        if (records)
            events.push_back({Event::resize, size.QuadPart, {}});
        bytes.resize(size.QuadPart);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD) override
    {
        *statistics = {};
        statistics->type = STGTY_LOCKBYTES;
        statistics->cbSize.QuadPart = bytes.size();
        return S_OK;
    }

    static void apply(const Event& event, Bytes& image)
    {
        if (event.kind == Event::resize)
            image.resize(event.offset);
        if (event.kind != Event::write)
            return;
        if (image.size() < event.offset + event.bytes.size())
            image.resize(event.offset + event.bytes.size());
        std::copy(event.bytes.begin(), event.bytes.end(), image.begin() + static_cast<std::ptrdiff_t>(event.offset));
    }

    Bytes bytes;
    std::vector<Event> events;
    bool records = true;
    std::int64_t callsLeft = -1; // before calls begin to fail; negative: none does
    std::int64_t failures = 1;   // so many calls fail then

private:
    bool iMayGoOn()
    {
        if (callsLeft < 0)
            return true;
        if (callsLeft > 0) {
            --callsLeft;
            return true;
        }
        if (failures == 0)
            return true;
        --failures;
        return false;
    }
};

// The medium after a power cut: everything up to the last flush is there; of what came after it, any pieces of 512 bytes are
// there or not, in any order.
inline Bytes imageAfterCut(const Bytes& flushed, const std::vector<SaboteurLockBytes::Event>& since, std::mt19937& random, unsigned keepOf16)
{
    using Event = SaboteurLockBytes::Event;
    std::vector<Event> pieces;
    for (const Event& event : since) {
        if (event.kind != Event::write) {
            pieces.push_back(event);
            continue;
        }
        for (std::size_t done = 0; done < event.bytes.size();) {
            const std::uint64_t at = event.offset + done;
            const std::size_t size = std::min<std::size_t>(event.bytes.size() - done, 512 - at % 512);
            const auto from = event.bytes.begin() + static_cast<std::ptrdiff_t>(done);
            pieces.push_back({Event::write, at, Bytes(from, from + static_cast<std::ptrdiff_t>(size))});
            done += size;
        }
    }
    std::erase_if(pieces, [&](const Event&) { return random() % 16 >= keepOf16; });
    if (random() % 2 != 0)
        std::shuffle(pieces.begin(), pieces.end(), random);
    Bytes image = flushed;
    for (const Event& piece : pieces)
        SaboteurLockBytes::apply(piece, image);
    return image;
}

} // namespace kvdm::test
