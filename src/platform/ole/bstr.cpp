// BSTR: the text stands eight bytes into its block, so that it is as well aligned as the block itself; the length in bytes
// stands in the four bytes before it, and a terminator of one unit behind it.
#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t headRoom = 8;
constexpr std::size_t lengthOffset = 4;
constexpr UINT mostBytes = 0xFFFFFFFFu - headRoom - 2 * sizeof(OLECHAR);

char* blockOf(BSTR string) noexcept
{
    return reinterpret_cast<char*>(string) - headRoom;
}

// Writes length and terminator into a block of room for them; odd byte counts have their terminator behind the last byte.
BSTR finish(char* block, UINT bytes) noexcept
{
    std::memcpy(block + lengthOffset, &bytes, sizeof bytes);
    std::memset(block + headRoom + bytes, 0, sizeof(OLECHAR));
    return reinterpret_cast<BSTR>(block + headRoom);
}

BSTR allocate(const void* content, UINT bytes) noexcept
{
    if (bytes > mostBytes)
        return nullptr;
    const std::size_t size = headRoom + std::size_t{bytes} + sizeof(OLECHAR);
    // Without content the text is blank memory: no caller sees what was there before.
    auto* block = static_cast<char*>(content ? std::malloc(size) : std::calloc(1, size));
    if (!block)
        return nullptr;
    if (content)
        std::memcpy(block + headRoom, content, bytes);
    return finish(block, bytes);
}

} // namespace

extern "C"
{

    BSTR SysAllocString(const OLECHAR* text) noexcept
    {
        if (!text)
            return nullptr;
        const std::size_t units = std::char_traits<OLECHAR>::length(text);
        return units > mostBytes / sizeof(OLECHAR) ? nullptr : allocate(text, static_cast<UINT>(units * sizeof(OLECHAR)));
    }

    BSTR SysAllocStringLen(const OLECHAR* text, UINT units) noexcept
    {
        return units > mostBytes / sizeof(OLECHAR) ? nullptr : allocate(text, units * static_cast<UINT>(sizeof(OLECHAR)));
    }

    BSTR SysAllocStringByteLen(const char* bytes, UINT count) noexcept
    {
        return allocate(bytes, count);
    }

    // The text may be a part of the string that it replaces.
    INT SysReAllocString(BSTR* string, const OLECHAR* text) noexcept
    {
        if (!string)
            return 0;
        BSTR fresh = SysAllocString(text);
        if (text && !fresh)
            return 0;
        SysFreeString(*string);
        *string = fresh;
        return 1;
    }

    // Without a text the content stays, cut or prolonged to the length.
    INT SysReAllocStringLen(BSTR* string, const OLECHAR* text, UINT units) noexcept
    {
        if (!string || units > mostBytes / sizeof(OLECHAR))
            return 0;
        const UINT bytes = units * static_cast<UINT>(sizeof(OLECHAR));
        if (text || !*string) {
            BSTR fresh = allocate(text, bytes);
            if (!fresh)
                return 0;
            SysFreeString(*string);
            *string = fresh;
            return 1;
        }
        const UINT before = SysStringByteLen(*string);
        auto* block = static_cast<char*>(std::realloc(blockOf(*string), headRoom + std::size_t{bytes} + sizeof(OLECHAR)));
        if (!block)
            return 0;
        if (bytes > before)
            std::memset(block + headRoom + before, 0, bytes - before);
        *string = finish(block, bytes);
        return 1;
    }

    void SysFreeString(BSTR string) noexcept
    {
        if (string)
            std::free(blockOf(string));
    }

    UINT SysStringLen(BSTR string) noexcept
    {
        return SysStringByteLen(string) / static_cast<UINT>(sizeof(OLECHAR));
    }

    UINT SysStringByteLen(BSTR string) noexcept
    {
        UINT bytes = 0;
        if (string)
            std::memcpy(&bytes, blockOf(string) + lengthOffset, sizeof bytes);
        return bytes;
    }

} // extern "C"
