#include "platform/text/codepages.h"

#include "platform/text/icu/codePageTable.h"
#include "platform/text/icu/userLocale.h"
#include "platform/text/icu/windowsCodePages.h"

#include <kvdocmgr/text.h>

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace kvdm {

namespace {

constexpr unsigned codePageOem = 1;
constexpr unsigned codePageMac = 2;
constexpr unsigned codePageThread = 3;

const char* statefulConverterOf(unsigned codePage)
{
    const auto pages = statefulCodePages();
    const auto at = std::find_if(pages.begin(), pages.end(), [&](const CodePageName& page) { return page.number == codePage; });
    return at == pages.end() ? nullptr : at->converter;
}

// The pages that stand for others.
unsigned resolved(unsigned codePage)
{
    switch (codePage) {
    case codePageSystem:
    case codePageThread:
        return systemCodePage();
    case codePageOem: {
        static const unsigned oem = oemCodePageOf(userLocaleName("LC_CTYPE"));
        return oem;
    }
    case codePageMac:
        return 10000;
    default:
        return codePage;
    }
}

struct ConverterCloser
{
    void operator()(UConverter* converter) const noexcept { ucnv_close(converter); }
};

// The converter of a page with states, opened anew: such pages are rare in documents. Null when there is none.
std::unique_ptr<UConverter, ConverterCloser> statefulConverter(unsigned codePage)
{
    const char* name = statefulConverterOf(codePage);
    if (!name)
        return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, ConverterCloser> converter(ucnv_open(name, &status));
    if (U_FAILURE(status))
        return nullptr;
    constexpr UChar questionMark = u'?';
    ucnv_setSubstString(converter.get(), &questionMark, 1, &status);
    ucnv_setFallback(converter.get(), true);
    return converter;
}

// Each longest ill-formed part becomes one U+FFFD.
std::u16string decodeUtf8(std::string_view bytes)
{
    std::u16string out;
    out.reserve(bytes.size());
    const auto* in = reinterpret_cast<const std::uint8_t*>(bytes.data());
    std::size_t i = 0;
    const std::size_t count = bytes.size();
    while (i < count) {
        if (in[i] < 0x80) {
            out += static_cast<char16_t>(in[i++]);
            continue;
        }
        UChar32 code = 0;
        U8_NEXT_OR_FFFD(in, i, count, code);
        if (code > 0xFFFF) {
            out += static_cast<char16_t>(U16_LEAD(code));
            out += static_cast<char16_t>(U16_TRAIL(code));
        } else {
            out += static_cast<char16_t>(code);
        }
    }
    return out;
}

unsigned findSystemCodePage()
{
    if (const char* chosen = std::getenv("KESTROVANE_ANSI_CODE_PAGE")) {
        unsigned number = 0;
        const char* end = chosen + std::strlen(chosen);
        const auto [stopped, failure] = std::from_chars(chosen, end, number);
        // A page that stands for the system's would ask for itself.
        if (failure == std::errc() && stopped == end && number > codePageThread && isKnownCodePage(number))
            return number;
    }
    return ansiCodePageOf(userLocaleName("LC_CTYPE"));
}

} // namespace

unsigned systemCodePage()
{
    static const unsigned page = findSystemCodePage();
    return page;
}

bool isKnownCodePage(unsigned codePage)
{
    const unsigned page = codePage > codePageThread ? codePage : resolved(codePage);
    return page == codePageUtf8 || statefulConverterOf(page) || CodePageTable::of(page);
}

std::u16string decodeText(unsigned codePage, std::string_view bytes)
{
    const unsigned page = resolved(codePage);
    if (page == codePageUtf8)
        return decodeUtf8(bytes);
    if (const CodePageTable* table = CodePageTable::of(page))
        return table->decode(bytes);
    const auto converter = statefulConverter(page);
    std::u16string out;
    if (!converter || bytes.empty() || bytes.size() > std::numeric_limits<std::int32_t>::max() / 4)
        return out;
    UErrorCode status = U_ZERO_ERROR;
    out.resize(bytes.size() * 2 + 16);
    const std::int32_t length = ucnv_toUChars(converter.get(), out.data(), static_cast<std::int32_t>(out.size()), bytes.data(),
                                              static_cast<std::int32_t>(bytes.size()), &status);
    out.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
    return out;
}

std::string encodeText(unsigned codePage, std::u16string_view text)
{
    const unsigned page = resolved(codePage);
    if (page == codePageUtf8)
        return toUtf8(text);
    if (const CodePageTable* table = CodePageTable::of(page))
        return table->encode(text);
    const auto converter = statefulConverter(page);
    std::string out;
    if (!converter || text.empty() || text.size() > std::numeric_limits<std::int32_t>::max() / 16)
        return out;
    UErrorCode status = U_ZERO_ERROR;
    out.resize(UCNV_GET_MAX_BYTES_FOR_STRING(text.size(), ucnv_getMaxCharSize(converter.get())) + 16);
    const std::int32_t length = ucnv_fromUChars(converter.get(), out.data(), static_cast<std::int32_t>(out.size()), text.data(),
                                                static_cast<std::int32_t>(text.size()), &status);
    out.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
    return out;
}

} // namespace kvdm
