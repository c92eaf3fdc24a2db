#include "platform/text/icu/codePageTable.h"

#include "platform/text/icu/windowsCodePages.h"

#include <unicode/normalizer2.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/uset.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>

namespace kvdm {

namespace {

// The bytes 80 to 9F of Windows-1252; the holes are control characters.
constexpr char16_t western80[33] = u"\u20AC\u0081\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\u008D\u017D\u008F"
                                   u"\u0090\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\u009D\u017E\u0178";

constexpr unsigned symbolPage = 42;
constexpr unsigned asciiPage = 20127;
constexpr unsigned latin1Page = 28591;
constexpr unsigned westernPage = 1252;

// Pages that put the unaccented letter for a letter that they have not.
constexpr unsigned baseLetterPages[] = {437, 850, 852, 858, 860, 863, 865, 1250, 1251, 1253, 1254, 1257, 20127, 28591, 28592, 28599, 28605};

bool isEbcdic(unsigned codePage)
{
    return codePage == 37 || codePage == 500 || codePage == 870 || codePage == 875 || codePage == 1026 || codePage == 1047 ||
           (codePage >= 1140 && codePage <= 1149);
}

bool isOem(unsigned codePage)
{
    return codePage >= 437 && codePage <= 869 && !isEbcdic(codePage);
}

struct ConverterCloser
{
    void operator()(UConverter* converter) const noexcept { ucnv_close(converter); }
};
struct SetCloser
{
    void operator()(USet* set) const noexcept { uset_close(set); }
};

} // namespace

struct CodePageTable::Source
{
    unsigned number;
    const char* converter;
};

const CodePageTable* CodePageTable::of(unsigned codePage)
{
    constexpr std::size_t most = 80;
    static std::array<std::atomic<const CodePageTable*>, most> built{};
    static std::mutex building;

    const auto pages = tableCodePages();
    const auto at =
        std::lower_bound(pages.begin(), pages.end(), codePage, [](const CodePageName& page, unsigned number) { return page.number < number; });
    const auto index = static_cast<std::size_t>(at - pages.begin());
    if (at == pages.end() || at->number != codePage || index >= most)
        return nullptr;
    if (const CodePageTable* known = built[index].load(std::memory_order_acquire))
        return known;
    const std::lock_guard guard(building);
    if (const CodePageTable* known = built[index].load(std::memory_order_acquire))
        return known;
    // Kept for good: other static objects may still convert text while the process ends.
    const CodePageTable* table = iBuild({codePage, at->converter}).release();
    built[index].store(table, std::memory_order_release);
    return table;
}

std::unique_ptr<CodePageTable> CodePageTable::iBuild(const Source& source)
{
    std::unique_ptr<CodePageTable> table(new CodePageTable);
    if (source.converter) {
        table->asciiBelow128 = !isEbcdic(source.number);
        if (!table->iLoad(source.converter))
            return nullptr; // a build of the library without this converter
    } else if (source.number == symbolPage) {
        table->asciiBelow128 = false;
        for (std::uint16_t code = 0; code < 256; ++code)
            table->iMap(code, static_cast<char16_t>(code < 0x20 ? code : 0xF000 + code));
    } else if (source.number == asciiPage) {
        for (std::uint16_t code = 0; code < 256; ++code)
            table->iDecodeTo(code, code & 0x7F); // the top bit has no meaning
        for (std::uint16_t code = 0; code < 128; ++code)
            table->iEncodeTo(code, code);
    } else {
        for (std::uint16_t code = 0; code < 256; ++code)
            table->iMap(code, source.number == westernPage && code >= 0x80 && code < 0xA0 ? western80[code - 0x80] : code);
    }
    table->iCorrect(source.number);
    table->iAddBestFit(source.number);
    return table;
}

// Asks the converter for every byte, every pair, and every unit that it can write in one or two bytes.
bool CodePageTable::iLoad(const char* converterName)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, ConverterCloser> owner(ucnv_open(converterName, &status));
    const std::unique_ptr<USet, SetCloser> units(uset_openEmpty());
    UConverter* converter = owner.get();
    if (U_FAILURE(status) || !units)
        return false;
    ucnv_setFallback(converter, true);
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_getUnicodeSet(converter, units.get(), UCNV_ROUNDTRIP_AND_FALLBACK_SET, &status);
    if (U_FAILURE(status))
        return false;

    const auto unitOf = [&](const char* bytes, int count) -> int {
        UErrorCode failure = U_ZERO_ERROR;
        UChar out[4];
        ucnv_resetToUnicode(converter);
        const std::int32_t got = ucnv_toUChars(converter, out, 4, bytes, count, &failure);
        return U_SUCCESS(failure) && got == 1 && out[0] != 0xFFFD ? out[0] : -1;
    };
    UBool leads[256] = {};
    const bool doubleByte = ucnv_getMaxCharSize(converter) > 1;
    if (doubleByte) {
        UErrorCode failure = U_ZERO_ERROR;
        ucnv_getStarters(converter, leads, &failure);
    }
    single.fill(unmapped);
    for (int lead = 0; lead < 256; ++lead) {
        char bytes[2] = {static_cast<char>(lead), 0};
        const int alone = unitOf(bytes, 1);
        if (alone >= 0) {
            iDecodeTo(static_cast<std::uint16_t>(lead), static_cast<char16_t>(alone));
            continue;
        }
        if (!leads[lead])
            continue;
        for (int trail = 1; trail < 256; ++trail) {
            bytes[1] = static_cast<char>(trail);
            const int unit = unitOf(bytes, 2);
            if (unit >= 0)
                iDecodeTo(static_cast<std::uint16_t>(lead << 8 | trail), static_cast<char16_t>(unit));
        }
    }

    for (std::int32_t range = 0; range < uset_getItemCount(units.get()); ++range) {
        UChar32 first = 0, last = 0;
        UErrorCode failure = U_ZERO_ERROR;
        if (uset_getItem(units.get(), range, &first, &last, nullptr, 0, &failure) != 0)
            continue; // a sequence, not a range
        for (UChar32 unit = first; unit <= std::min<UChar32>(last, 0xFFFF); ++unit) {
            const UChar in = static_cast<UChar>(unit);
            char out[8];
            failure = U_ZERO_ERROR;
            ucnv_resetFromUnicode(converter);
            const std::int32_t got = ucnv_fromUChars(converter, out, sizeof out, &in, 1, &failure);
            if (U_SUCCESS(failure) && (got == 1 || (got == 2 && doubleByte)))
                iEncodeTo(in, static_cast<std::uint16_t>(got == 1 ? std::uint8_t(out[0]) : std::uint8_t(out[0]) << 8 | std::uint8_t(out[1])));
        }
    }
    return true;
}

// Turns what the library gives into what Windows gives.
void CodePageTable::iCorrect(unsigned codePage)
{
    if (isEbcdic(codePage)) {
        defaultByte = 0x6F;
    } else if (codePage != symbolPage) {
        // The library swaps the bytes 1A, 1C and 7F of the pages of the PC as some hosts do.
        for (std::uint16_t code = 0; code < 128; ++code)
            iMap(code, static_cast<char16_t>(code));
    }
    for (const CodePageCorrection& correction : codePageCorrections())
        if (correction.number == codePage)
            iMap(correction.code, correction.unit);
    if (codePage == 932) {
        unmapped = u'\u30FB';
        iEncodeTo(u'\u00A2', 0x8191);
        iEncodeTo(u'\u00A3', 0x8192);
        iEncodeTo(u'\u00AC', 0x81CA);
        for (auto& trails : doubles)
            if (trails)
                std::replace(trails->begin(), trails->end(), u'?', unmapped);
    }
    // Where two bytes decode alike the page's own choice stands; where the correction freed a byte, its unit gets it.
    for (int code = 128; code < 256; ++code)
        if (!doubles[code] && single[code] != unmapped)
            iEncodeMissing(single[code], static_cast<std::uint16_t>(code));
}

void CodePageTable::iAddBestFit(unsigned codePage)
{
    if (codePage == symbolPage)
        return;
    // Control pictures of the PC are best fit of its pages alone.
    if (!isOem(codePage) && !isEbcdic(codePage)) {
        for (int high = 0; high < 256; ++high)
            for (int low = 0; codes[high] && low < 256; ++low)
                if (((*codes[high])[low] < 0x20 || (*codes[high])[low] == 0x7F) && (high << 8 | low) >= 0x80)
                    (*codes[high])[low] = 0;
    }
    if (codePage == westernPage || codePage == latin1Page) {
        for (const BestFitRun& run : westernBestFit())
            for (std::size_t i = 0; run.bytes[i]; ++i) {
                const auto byte = static_cast<std::uint8_t>(run.bytes[i]);
                if (codePage == westernPage || byte < 0x80 || byte >= 0xA0)
                    iEncodeMissing(static_cast<char16_t>(run.first + i), byte);
            }
    }
    for (int i = 0; i < 94 && !isEbcdic(codePage) && !doubles[0x81]; ++i) // full width to plain
        iEncodeMissing(static_cast<char16_t>(0xFF01 + i), static_cast<std::uint16_t>(0x21 + i));

    if (std::find(std::begin(baseLetterPages), std::end(baseLetterPages), codePage) == std::end(baseLetterPages))
        return;
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* composer = icu::Normalizer2::getNFDInstance(status);
    for (UChar32 unit = 0xC0; U_SUCCESS(status) && unit < 0x1F1; ++unit) {
        icu::UnicodeString parts;
        if (composer->getDecomposition(unit, parts) && parts[0] < 0x80)
            iEncodeMissing(static_cast<char16_t>(unit), parts[0]);
    }
}

void CodePageTable::iMap(std::uint16_t code, char16_t unit)
{
    iDecodeTo(code, unit);
    iEncodeTo(unit, code);
}

void CodePageTable::iDecodeTo(std::uint16_t code, char16_t unit)
{
    if (code < 256) {
        single[code] = unit;
        return;
    }
    auto& trails = doubles[code >> 8];
    if (!trails) {
        trails = std::make_unique<Trails>();
        trails->fill(unmapped);
    }
    (*trails)[code & 0xFF] = unit;
}

void CodePageTable::iEncodeTo(char16_t unit, std::uint16_t code)
{
    auto& page = codes[unit >> 8];
    if (!page)
        page = std::make_unique<Codes>();
    (*page)[unit & 0xFF] = code;
}

void CodePageTable::iEncodeMissing(char16_t unit, std::uint16_t code)
{
    if (!iHas(unit))
        iEncodeTo(unit, code);
}

bool CodePageTable::iHas(char16_t unit) const noexcept
{
    const auto& page = codes[unit >> 8];
    return unit == 0 || (page && (*page)[unit & 0xFF] != 0);
}

std::u16string CodePageTable::decode(std::string_view bytes) const
{
    std::u16string out(bytes.size(), u'\0');
    const auto* in = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const std::size_t count = bytes.size();
    std::size_t i = 0, at = 0;
    if (asciiBelow128) {
        for (std::uint64_t eight; i + 8 <= count; i += 8) {
            std::memcpy(&eight, in + i, 8);
            if (eight & 0x8080808080808080u)
                break;
            for (std::size_t k = 0; k < 8; ++k)
                out[i + k] = in[i + k];
        }
        at = i;
    }
    while (i < count) {
        const std::uint8_t byte = in[i++];
        const Trails* trails = doubles[byte].get();
        if (!trails)
            out[at++] = single[byte];
        else if (i < count && in[i] != 0) // a pair without a meaning is one unit as well
            out[at++] = (*trails)[in[i++]];
        else
            out[at++] = unmapped; // a NUL ends the text and is never the second half of anything
    }
    out.resize(at);
    return out;
}

std::string CodePageTable::encode(std::u16string_view text) const
{
    std::string out;
    out.reserve(text.size());
    for (const char16_t unit : text) {
        if (asciiBelow128 && unit < 0x80) {
            out += static_cast<char>(unit);
            continue;
        }
        const Codes* page = codes[unit >> 8].get();
        std::uint16_t code = page ? (*page)[unit & 0xFF] : 0;
        if (code == 0 && unit != 0)
            code = defaultByte;
        if (code > 0xFF)
            out += static_cast<char>(code >> 8);
        out += static_cast<char>(code);
    }
    return out;
}

} // namespace kvdm
