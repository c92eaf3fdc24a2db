#include "platform/text/icu/userLocale.h"

#include <unicode/uloc.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>

namespace kvdm {

namespace {

struct LanguagePage
{
    std::string_view language; // or language_Script
    unsigned ansi;
    unsigned oem;
};

constexpr LanguagePage pages[] = {
    {"ar", 1256, 720},     {"az", 1254, 857},      {"az_Cyrl", 1251, 866}, {"ba", 1251, 866},  {"be", 1251, 866},      {"bg", 1251, 866},
    {"bs", 1250, 852},     {"bs_Cyrl", 1251, 855}, {"ckb", 1256, 720},     {"cs", 1250, 852},  {"el", 1253, 737},      {"et", 1257, 775},
    {"fa", 1256, 720},     {"he", 1255, 862},      {"hr", 1250, 852},      {"hu", 1250, 852},  {"ja", 932, 932},       {"kk", 1251, 866},
    {"ko", 949, 949},      {"ky", 1251, 866},      {"lt", 1257, 775},      {"lv", 1257, 775},  {"mk", 1251, 866},      {"mn", 1251, 866},
    {"pl", 1250, 852},     {"ps", 1256, 720},      {"ro", 1250, 852},      {"ru", 1251, 866},  {"sah", 1251, 866},     {"sd", 1256, 720},
    {"sk", 1250, 852},     {"sl", 1250, 852},      {"sq", 1250, 852},      {"sr", 1251, 855},  {"sr_Latn", 1250, 852}, {"tg", 1251, 866},
    {"th", 874, 874},      {"tk", 1250, 852},      {"tr", 1254, 857},      {"tt", 1251, 866},  {"ug", 1256, 720},      {"uk", 1251, 866},
    {"ur", 1256, 720},     {"uz", 1254, 857},      {"uz_Cyrl", 1251, 866}, {"vi", 1258, 1258}, {"yi", 1255, 862},      {"zh", 936, 936},
    {"zh_Hans", 936, 936}, {"zh_Hant", 950, 950},
};

// Language and script are asked for in full ("zh_TW" has the script Hant), then the language alone.
LanguagePage pagesOf(const std::string& localeName)
{
    char full[ULOC_FULLNAME_CAPACITY] = "", language[ULOC_LANG_CAPACITY] = "", script[ULOC_SCRIPT_CAPACITY] = "", country[ULOC_COUNTRY_CAPACITY] = "";
    UErrorCode status = U_ZERO_ERROR;
    uloc_addLikelySubtags(localeName.c_str(), full, sizeof full, &status);
    uloc_getLanguage(full, language, sizeof language, &status);
    uloc_getScript(full, script, sizeof script, &status);
    uloc_getCountry(full, country, sizeof country, &status);
    if (U_SUCCESS(status)) {
        for (const std::string& key : {std::string(language) + '_' + script, std::string(language)}) {
            const auto* known = std::find_if(std::begin(pages), std::end(pages), [&](const LanguagePage& page) { return page.language == key; });
            if (known != std::end(pages))
                return *known;
        }
    }
    return {"", 1252, std::string_view(language) == "en" && std::string_view(country) == "US" ? 437u : 850u};
}

} // namespace

std::string userLocaleName(const char* categoryVariable)
{
    std::string posix;
    for (const char* variable : {"LC_ALL", categoryVariable, "LANG"}) {
        const char* value = std::getenv(variable);
        if (value && *value) {
            posix = value;
            break;
        }
    }
    const std::string::size_type at = posix.find('@');
    const std::string modifier = at == std::string::npos ? std::string() : posix.substr(at + 1);
    std::string name = posix.substr(0, posix.find_first_of(".@"));
    if (name.empty() || name == "C" || name == "POSIX" || name.size() > 64)
        return "en_US";
    const std::string::size_type country = name.find('_');
    const std::string::size_type language = std::min(country, name.size());
    if (modifier == "latin")
        name.insert(language, "_Latn");
    else if (modifier == "cyrillic")
        name.insert(language, "_Cyrl");

    char canonical[ULOC_FULLNAME_CAPACITY];
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t length = uloc_canonicalize(name.c_str(), canonical, sizeof canonical, &status);
    return U_SUCCESS(status) && length > 0 ? std::string(canonical, static_cast<std::size_t>(length)) : "en_US";
}

unsigned ansiCodePageOf(const std::string& localeName)
{
    return pagesOf(localeName).ansi;
}

unsigned oemCodePageOf(const std::string& localeName)
{
    return pagesOf(localeName).oem;
}

} // namespace kvdm
