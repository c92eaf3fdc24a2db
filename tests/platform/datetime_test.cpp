#include "platform/text/datetime.h"

#include "platform/environment.h"

#include <kvdocmgr/text.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

using namespace kvdm;

namespace {

constexpr SYSTEMTIME moment{2026, 11, 6, 21, 3, 2, 57, 0};

std::string parsed(const char16_t* text)
{
    const auto time = parseDateText(text);
    if (!time)
        return "none";
    char out[64];
    std::snprintf(out, sizeof out, "%u-%u-%u %u:%u:%u", time->wYear, time->wMonth, time->wDay, time->wHour, time->wMinute, time->wSecond);
    return out;
}

TEST(DateTexts, EachLocaleWritesItsForms)
{
    struct
    {
        const char *locale, *date, *longDate, *time;
    } const cases[] = {
        {"en_US.UTF-8", "11/21/2026", "Saturday, November 21, 2026", "3:02:57 AM"},
        {"C", "11/21/2026", "Saturday, November 21, 2026", "3:02:57 AM"},
        {"", "11/21/2026", "Saturday, November 21, 2026", "3:02:57 AM"},
        {"en_GB", "21/11/2026", "Saturday, 21 November 2026", "03:02:57"},
        {"de_DE@euro", "21.11.2026", "Samstag, 21. November 2026", "03:02:57"},
        {"fr_FR", "21/11/2026", "samedi 21 novembre 2026", "03:02:57"},
        {"fr_CA", "2026-11-21", "samedi 21 novembre 2026", "03:02:57"},
        {"sv_SE", "2026-11-21", "l\u00F6rdag 21 november 2026", "03:02:57"},
        {"ja_JP", "2026/11/21", "2026\u5E7411\u670821\u65E5\u571F\u66DC\u65E5", "3:02:57"},
        {"ko_KR", "2026. 11. 21.", "2026\uB144 11\uC6D4 21\uC77C \uD1A0\uC694\uC77C", "\uC624\uC804 3:02:57"},
        {"zh_TW", "2026/11/21", "2026\u5E7411\u670821\u65E5 \u661F\u671F\u516D", "\u4E0A\u53483:02:57"},
        {"sr_RS@latin", "21.11.2026.", "subota, 21. novembar 2026.", "03:02:57"},
    };
    const ScopedVariable all("LC_ALL", nullptr), language("LANG", "pl_PL");
    for (const auto& each : cases) {
        const ScopedVariable time("LC_TIME", each.locale), lang("LANG", each.locale);
        EXPECT_EQ(toUtf8(shortDateText(moment)), each.date) << each.locale;
        EXPECT_EQ(toUtf8(longDateText(moment)), each.longDate) << each.locale;
        EXPECT_EQ(toUtf8(timeText(moment)), each.time) << each.locale;
        // What a locale writes it also reads, in each of its forms.
        const std::string whole = "2026-11-21 3:2:57";
        EXPECT_EQ(parsed((shortDateText(moment) + u' ' + timeText(moment)).c_str()), whole) << each.locale;
        EXPECT_EQ(parsed((longDateText(moment) + u' ' + timeText(moment)).c_str()), whole) << each.locale;
    }
    const ScopedVariable first("LC_ALL", "de_DE"), second("LC_TIME", "en_US");
    EXPECT_EQ(shortDateText(moment), u"21.11.2026"); // LC_ALL comes first
    EXPECT_EQ(shortDateText(moment, 0x0409), u"11/21/2026");
    EXPECT_EQ(shortDateText(moment, 0x0411), u"2026/11/21");
}

TEST(DateTexts, HalvesOfTheDayAndSingleDigits)
{
    EXPECT_EQ(timeText({2026, 1, 0, 2, 0, 5, 9, 0}), u"12:05:09 AM");
    EXPECT_EQ(timeText({2026, 1, 0, 2, 12, 0, 0, 0}), u"12:00:00 PM");
    EXPECT_EQ(shortDateText({105, 1, 0, 2, 0, 0, 0, 0}), u"1/2/0105");
    EXPECT_EQ(shortDateText({2026, 2, 0, 29, 0, 0, 0, 0}), u"");
    EXPECT_EQ(longDateText({2026, 0, 0, 1, 0, 0, 0, 0}), u"");
    EXPECT_EQ(timeText({2026, 1, 0, 2, 24, 0, 0, 0}), u"");
}

TEST(DateTexts, UsualFormsAreReadWhateverTheOrder)
{
    struct
    {
        const char16_t* text;
        const char* expected;
    } const cases[] = {
        {u"11/21/2026", "2026-11-21 0:0:0"},
        {u"  11-21-2026 ", "2026-11-21 0:0:0"},
        {u"11.21.2026", "2026-11-21 0:0:0"},
        {u"21/11/2026", "2026-11-21 0:0:0"}, // the order that fits
        {u"3/4/29", "2029-3-4 0:0:0"},
        {u"3/4/30", "1930-3-4 0:0:0"},
        {u"2026-11-21", "2026-11-21 0:0:0"},
        {u"2026/1/2", "2026-1-2 0:0:0"},
        {u"21 November 2026", "2026-11-21 0:0:0"},
        {u"November 21, 2026", "2026-11-21 0:0:0"},
        {u"Saturday, november 21, 2026", "2026-11-21 0:0:0"},
        {u"21-Nov-2026", "2026-11-21 0:0:0"},
        {u"Nov 5 06", "2006-11-5 0:0:0"},
        {u"2026 Nov 21", "2026-11-21 0:0:0"},
        {u"Feb 30 28", "1930-2-28 0:0:0"},
        {u"Nov 2026", "2026-11-1 0:0:0"},
        {u"11/2026", "2026-11-1 0:0:0"},
        {u"2/29/2024", "2024-2-29 0:0:0"},
        {u"1/1/100", "100-1-1 0:0:0"},
        {u"11/21/2026 12:00", "2026-11-21 12:0:0"},
        {u"11/21/2026 12:00:05 PM", "2026-11-21 12:0:5"},
        {u"11/21/2026 12:00:00 AM", "2026-11-21 0:0:0"},
        {u"11/21/2026, 14:30", "2026-11-21 14:30:0"},
        {u"3:02p 11/21/2026", "2026-11-21 15:2:0"},
        {u"11/21/2026 3 pm", "2026-11-21 15:0:0"},
        {u"14:30", "1899-12-30 14:30:0"},
        {u"7 a.m.", "1899-12-30 7:0:0"},
        {u"13.50", "1899-12-30 13:50:0"},
        // Not dates.
        {u"", "none"},
        {u"   ", "none"},
        {u"hello", "none"},
        {u"5", "none"},
        {u"2026", "none"},
        {u"20261121", "none"},
        {u"13/32/2026", "none"},
        {u"2/30/2026", "none"},
        {u"2/29/2023", "none"},
        {u"0/1/2026", "none"},
        {u"1/1/99999", "none"},
        {u"1/1/10000", "none"},
        {u"1/1/099", "none"},
        {u"1/2/3/4", "none"},
        {u"1//2/2026", "none"},
        {u"/1/2/2026", "none"},
        {u"1/2/2026/", "none"},
        {u"1,500", "none"},
        {u"24:00", "none"},
        {u"12:60", "none"},
        {u"13:00 AM", "none"},
        {u"12:00:00:00", "none"},
        {u"1:00 2:00", "none"},
        {u"AM", "none"},
        {u"1/2/2026 AM PM", "none"},
        {u"Nov Dec 2026", "none"},
        {u"Saturday", "none"},
        {u"November", "none"},
        {u"11/21/2026x", "none"},
        {u"\u0661/\u0662/2026", "none"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(parsed(each.text), each.expected) << toUtf8(each.text);
    EXPECT_EQ(parsed(std::u16string(100000, u'1').c_str()), "none");
    const WORD thisYear = localCalendar(presentSeconds()).wYear;
    EXPECT_EQ(parseDateText(u"3/4")->wYear, thisYear);
    EXPECT_EQ(parseDateText(u"March 4")->wDay, 4);
}

TEST(DateTexts, TheOrderOfTheLocaleDecides)
{
    struct
    {
        const char* locale;
        const char16_t* text;
        const char* expected;
    } const cases[] = {
        {"en_GB", u"3/4/2026", "2026-4-3 0:0:0"},
        {"en_GB", u"3/14/2026", "2026-3-14 0:0:0"},
        {"de_DE", u"3.4.26", "2026-4-3 0:0:0"},
        {"de_DE", u"3. M\u00E4rz 2026", "2026-3-3 0:0:0"},
        {"de_DE", u"3-Mar-2026", "2026-3-3 0:0:0"}, // English names are known everywhere
        {"sv_SE", u"26-3-4", "2026-3-4 0:0:0"},
        {"sv_SE", u"3/4/2026", "2026-3-4 0:0:0"},
        {"fi_FI", u"3.4.2026 14.30.05", "2026-4-3 14:30:5"},
        {"fi_FI", u"14.30.05", "1899-12-30 14:30:5"},
        {"es_ES", u"21 de noviembre de 2026", "2026-11-21 0:0:0"},
        {"ja_JP", u"2026\u5E7411\u670821\u65E5", "2026-11-21 0:0:0"},
        {"ru_RU", u"21 \u043D\u043E\u044F\u0431\u0440\u044F 2026 \u0433.", "2026-11-21 0:0:0"},
    };
    for (const auto& each : cases) {
        const ScopedVariable locale("LC_ALL", each.locale);
        EXPECT_EQ(parsed(each.text), each.expected) << each.locale << ' ' << toUtf8(each.text);
    }
}

TEST(FileTimes, FieldsAndTicksAgreeWithTheCalendar)
{
    struct
    {
        std::uint64_t ticks;
        SYSTEMTIME time;
    } const cases[] = {
        {0, {1601, 1, 1, 1, 0, 0, 0, 0}},
        {116444736000000000, {1970, 1, 4, 1, 0, 0, 0, 0}},
        {125911584000000000, {2000, 1, 6, 1, 0, 0, 0, 0}},
        {134400672379990000, {2026, 11, 3, 25, 8, 0, 37, 999}},
        {0x7FFF35F4F06C58F0, {30827, 12, 5, 31, 23, 59, 59, 999}}, // the last one
    };
    for (const auto& each : cases) {
        const auto time = toSystemTime(fileTimeOf(each.ticks));
        ASSERT_TRUE(time);
        EXPECT_EQ(std::memcmp(&*time, &each.time, sizeof each.time), 0)
            << each.ticks << ": " << time->wYear << '-' << time->wMonth << '-' << time->wDay;
        const auto back = toFileTime(each.time);
        ASSERT_TRUE(back);
        EXPECT_EQ(ticksOf(*back), each.ticks);
    }
    EXPECT_FALSE(toSystemTime(fileTimeOf(0x8000000000000000)));
    for (const SYSTEMTIME& bad :
         {SYSTEMTIME{1600, 12, 0, 31, 0, 0, 0, 0}, SYSTEMTIME{30828, 1, 0, 1, 0, 0, 0, 0}, SYSTEMTIME{2026, 13, 0, 1, 0, 0, 0, 0},
          SYSTEMTIME{2026, 2, 0, 29, 0, 0, 0, 0}, SYSTEMTIME{2026, 1, 0, 0, 0, 0, 0, 0}, SYSTEMTIME{2026, 1, 0, 1, 24, 0, 0, 0},
          SYSTEMTIME{2026, 1, 0, 1, 0, 60, 0, 0}, SYSTEMTIME{2026, 1, 0, 1, 0, 0, 0, 1000}})
        EXPECT_FALSE(toFileTime(bad));
}

TEST(FileTimes, TheZoneMovesByThePresentOffset)
{
    constexpr std::uint64_t hour = 36'000'000'000;
    const FILETIME noon2000 = fileTimeOf(125912016000000000);
    {
        const ScopedVariable zone("TZ", "KVT-5:30"); // east of Greenwich
        EXPECT_EQ(ticksOf(*toLocalFileTime(noon2000)), ticksOf(noon2000) + hour * 11 / 2);
        EXPECT_EQ(ticksOf(*toUtcFileTime(*toLocalFileTime(noon2000))), ticksOf(noon2000));
        EXPECT_FALSE(toUtcFileTime(fileTimeOf(hour)));
        EXPECT_FALSE(zoneHasDaylightTime());
        EXPECT_EQ(localCalendar(0).wHour, 5);
    }
    {
        // Daylight time through all the year but one hour: the present offset holds for a date in winter as well.
        const ScopedVariable zone("TZ", "KVS8KVD7,J1/0,J365/25");
        EXPECT_EQ(ticksOf(*toLocalFileTime(noon2000)), ticksOf(noon2000) - 7 * hour);
        EXPECT_FALSE(toLocalFileTime(fileTimeOf(hour)));
        EXPECT_TRUE(zoneHasDaylightTime());
    }
    EXPECT_FALSE(toLocalFileTime(fileTimeOf(~0ull)));
}

TEST(FileTimes, ThePresentIsTheSameOnEveryClock)
{
    const std::int64_t before = presentSeconds();
    const std::uint64_t ticks = ticksOf(presentFileTime());
    const std::int64_t after = presentSeconds();
    const std::int64_t seconds = static_cast<std::int64_t>(ticks / 10'000'000) - 11'644'473'600;
    EXPECT_GE(seconds, before - 1); // the coarse clock may lag
    EXPECT_LE(seconds, after + 1);
}

} // namespace
