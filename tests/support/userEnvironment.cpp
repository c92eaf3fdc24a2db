// Dates and texts follow the user's locale and time zone: every test runs for an American user in UTC, whoever starts it and however.
#include <cstdlib>
#include <initializer_list>

namespace {

[[maybe_unused]] const bool environmentIsSet = [] {
    for (const char* name : {"LC_TIME", "LC_NUMERIC", "LC_CTYPE", "LANG", "LANGUAGE", "KESTROVANE_ANSI_CODE_PAGE", "KESTROVANE_PATH_MAP"})
        unsetenv(name);
    setenv("LC_ALL", "en_US.UTF-8", 1);
    setenv("TZ", "UTC", 1);
    return true;
}();

} // namespace
