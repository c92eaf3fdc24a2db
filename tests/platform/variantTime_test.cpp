#include <kvdocmgr/oletypes.h>
#include <kvdocmgr/owned.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

namespace {

constexpr LCID userLocale = 0x0400;

TEST(VariantTime, DaysAndFractionsCountFromDayZero)
{
    struct
    {
        SYSTEMTIME time;
        DATE date;
    } const cases[] = {
        {{1899, 12, 6, 30, 0, 0, 0, 0}, 0.0},
        {{1900, 1, 1, 1, 0, 0, 0, 0}, 2.0},
        {{1899, 12, 5, 29, 18, 0, 0, 0}, -1.75}, // the time of day counts forward on every day
        {{1970, 1, 4, 1, 12, 0, 0, 0}, 25569.5},
        {{2026, 11, 6, 21, 3, 2, 57, 0}, 46347.0 + 10977.0 / 86400},
        {{100, 1, 5, 1, 0, 0, 0, 0}, -657434.0},
        {{100, 1, 5, 1, 23, 59, 59, 0}, -657434.0 - 86399.0 / 86400},
        {{9999, 12, 5, 31, 23, 59, 59, 0}, 2958465.0 + 86399.0 / 86400},
    };
    for (const auto& each : cases) {
        SYSTEMTIME in = each.time, out{};
        DATE date = -1;
        EXPECT_TRUE(SystemTimeToVariantTime(&in, &date));
        EXPECT_DOUBLE_EQ(date, each.date);
        EXPECT_TRUE(VariantTimeToSystemTime(each.date, &out));
        EXPECT_EQ(out.wYear, each.time.wYear) << each.date;
        EXPECT_EQ(out.wMonth, each.time.wMonth) << each.date;
        EXPECT_EQ(out.wDay, each.time.wDay) << each.date;
        EXPECT_EQ(out.wDayOfWeek, each.time.wDayOfWeek) << each.date;
        EXPECT_EQ(out.wHour * 3600 + out.wMinute * 60 + out.wSecond, each.time.wHour * 3600 + each.time.wMinute * 60 + each.time.wSecond)
            << each.date;
        EXPECT_EQ(out.wMilliseconds, 0);
    }
}

TEST(VariantTime, FieldsRollOnAndRangesHold)
{
    struct
    {
        SYSTEMTIME time;
        DATE date; // not a number: refused
    } const cases[] = {
        {{1980, 2, 0, 31, 0, 0, 0, 0}, 29282.0}, // 2 March
        {{1980, 1, 0, 0, 0, 0, 0, 0}, 29220.0},  // 31 December 1979
        {{1980, 0, 0, 1, 0, 0, 0, 0}, 29190.0},  // December 1979
        {{1980, 1, 0, 1, 24, 0, 0, 999}, 29222.0}, {{29, 1, 0, 1, 0, 0, 0, 0}, 47119.0}, {{30, 1, 0, 1, 0, 0, 0, 0}, 10959.0},
        {{1980, 13, 0, 1, 0, 0, 0, 0}, NAN},       {{1980, 1, 0, 32, 0, 0, 0, 0}, NAN},  {{10000, 1, 0, 1, 0, 0, 0, 0}, NAN},
        {{9999, 12, 0, 31, 24, 0, 0, 0}, NAN},     {{100, 1, 0, 0, 0, 0, 0, 0}, NAN},
    };
    for (const auto& each : cases) {
        SYSTEMTIME in = each.time;
        DATE date = -1;
        EXPECT_EQ(SystemTimeToVariantTime(&in, &date) != 0, !std::isnan(each.date)) << in.wYear << '-' << in.wMonth << '-' << in.wDay;
        if (!std::isnan(each.date)) {
            EXPECT_DOUBLE_EQ(date, each.date);
        }
    }
    SYSTEMTIME out{};
    for (const DATE bad : {-657435.0, 2958466.0, 2958465.999999, std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, -HUGE_VAL, 1e300})
        EXPECT_FALSE(VariantTimeToSystemTime(bad, &out)) << bad;
    EXPECT_TRUE(VariantTimeToSystemTime(1.9999999, &out)); // rounds into the next day
    EXPECT_EQ(out.wMonth, 1);
    EXPECT_EQ(out.wDay, 1);
    EXPECT_TRUE(VariantTimeToSystemTime(1.0 + 2.6 / 86400, &out));
    EXPECT_EQ(out.wSecond, 3);
}

TEST(VariantTime, TextsTellDateAndTime)
{
    constexpr ULONG timeOnly = 1, dateOnly = 2;
    struct
    {
        DATE date;
        ULONG flags;
        const char16_t* text;
    } const cases[] = {
        {46347.0 + 10977.0 / 86400, 0, u"11/21/2026 3:02:57 AM"},
        {46347.0 + 10977.0 / 86400, timeOnly, u"3:02:57 AM"},
        {46347.0 + 10977.0 / 86400, dateOnly, u"11/21/2026"},
        {46347.0, 0, u"11/21/2026"},
        {46347.0, dateOnly, u"11/21/2026"},
        {46347.0, timeOnly, u""}, // a date without a time of day
        {0.0, 0, u"12:00:00 AM"},
        {0.0, timeOnly, u"12:00:00 AM"},
        {0.5, 0, u"12:00:00 PM"},
        {-1.75, 0, u"12/29/1899 6:00:00 PM"},
        {46347.5, 0x80000000, u"11/21/2026 12:00:00 PM"},
    };
    for (const auto& each : cases) {
        kvdm::OwnedBstr text;
        EXPECT_EQ(VarBstrFromDate(each.date, userLocale, each.flags, text.put()), S_OK);
        EXPECT_EQ(text.view(), each.text) << each.date << ' ' << each.flags;
    }
    kvdm::OwnedBstr german;
    EXPECT_EQ(VarBstrFromDate(46347.5, 0x0407, 0, german.put()), S_OK);
    EXPECT_EQ(german.view(), u"21.11.2026 12:00:00");
    EXPECT_EQ(VarBstrFromDate(1e9, userLocale, 0, german.put()), E_INVALIDARG);
    EXPECT_EQ(german.get(), nullptr);
    EXPECT_EQ(VarBstrFromDate(0, userLocale, 0, nullptr), E_INVALIDARG);
}

TEST(VariantTime, TextsAreReadBack)
{
    DATE date = -1;
    EXPECT_EQ(VarDateFromStr(u"11/21/2026 3:02:57 AM", userLocale, 0, &date), S_OK);
    EXPECT_DOUBLE_EQ(date, 46347.0 + 10977.0 / 86400);
    EXPECT_EQ(VarDateFromStr(u"11/21/2026 12:00", userLocale, 1, &date), S_OK);
    EXPECT_DOUBLE_EQ(date, 0.5);
    EXPECT_EQ(VarDateFromStr(u"11/21/2026 12:00", userLocale, 2, &date), S_OK);
    EXPECT_DOUBLE_EQ(date, 46347.0);
    EXPECT_EQ(VarDateFromStr(u"14:30", userLocale, 0, &date), S_OK);
    EXPECT_DOUBLE_EQ(date, 14.5 / 24);
    EXPECT_EQ(VarDateFromStr(u"3.4.2026", 0x0407, 0, &date), S_OK); // the order of that locale
    EXPECT_DOUBLE_EQ(date, 46115.0);
    for (const char16_t* bad : {u"", u"no date", u"2/30/2026"})
        EXPECT_EQ(VarDateFromStr(bad, userLocale, 0, &date), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(VarDateFromStr(nullptr, userLocale, 0, &date), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(VarDateFromStr(u"1/1/2000", userLocale, 0, nullptr), E_INVALIDARG);
}

TEST(TaskMemory, AllocatesAsThePlatformDoes)
{
    void* memory = CoTaskMemAlloc(0);
    EXPECT_NE(memory, nullptr);
    memory = CoTaskMemRealloc(memory, 100);
    EXPECT_NE(memory, nullptr);
    EXPECT_EQ(CoTaskMemRealloc(memory, 0), nullptr); // frees
    CoTaskMemFree(nullptr);
}

TEST(Apartments, CountPerThread)
{
    constexpr DWORD multithreaded = 0;
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, multithreaded), static_cast<HRESULT>(0x80010106u));
    std::thread([] {
        EXPECT_EQ(CoInitializeEx(nullptr, multithreaded), S_OK);
        CoUninitialize();
    }).join();
    CoUninitialize();
    CoUninitialize();
    CoUninitialize(); // one too many does nothing
    EXPECT_EQ(CoInitializeEx(nullptr, multithreaded), S_OK);
    CoUninitialize();
    int reserved = 0;
    EXPECT_EQ(CoInitialize(&reserved), E_INVALIDARG);
    EXPECT_EQ(CoFileTimeNow(nullptr), E_INVALIDARG);
}

} // namespace
