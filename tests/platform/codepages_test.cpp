// Expected bytes and units are those of the published Windows code page tables, not of the converter library.
#include "platform/text/codepages.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace kvdm;

namespace {

struct Pair
{
    unsigned codePage;
    std::string bytes;
    std::u16string text;
};

TEST(CodePages, EveryPageReadsAndWritesItsOwnLetters)
{
    const Pair cases[] = {
        {1252, "\x80\x8A\x9F\xE9", u"\u20AC\u0160\u0178\u00E9"},
        {1252, "\x81\x8D\x8F\x90\x9D", u"\u0081\u008D\u008F\u0090\u009D"}, // the holes are control characters, not failures
        {1250, "\xA3\xB9", u"\u0141\u0105"},
        {1251, "\xCF\xF0\xE8\x98", u"\u041F\u0440\u0438\u0098"},
        {1253, "\xC1\xD2\xFF", u"\u0391\uF8FA\uF8FB"}, // holes in the private use area
        {1254, "\xDD\xFD", u"\u0130\u0131"},
        {1255, "\xE0\xD9", u"\u05D0\uF88D"},
        {1256, "\xC7", u"\u0627"},
        {1257, "\xC0\xA1", u"\u0104\uF8FC"},
        {1258, "\xD0", u"\u0110"},
        {874, "\xA1\xDB", u"\u0E01\uF8C1"},
        {437, "\x1A\x1C\x7F\xE6\xB0", u"\u001A\u001C\u007F\u00B5\u2591"}, // control characters stay where they are
        {850, "\x82", u"\u00E9"},
        {20127, "abc", u"abc"},
        {28591, "\x85\xE9", u"\u0085\u00E9"},
        {28605, "\xA4", u"\u20AC"},
        {10000, "\x8E", u"\u00E9"},
        {932, "\x83\x5C\x5C\xB1\x81\x60", u"\u30BD\\\uFF71\uFF5E"}, // a backslash as second byte and as itself
        {932, "\xF0\x40\xA0", u"\uE000\uF8F0"},
        {936, "\x80\xD6\xD0", u"\u20AC\u4E2D"},
        {949, "\xB0\xA1\xC9\xA1", u"\uAC00\uE000"},
        {950, "\xA4\xA4", u"\u4E2D"},
        {500, "\xC1\x81", u"Aa"},
        {42, "\x41\x07", u"\uF041\u0007"},
        {65001, "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80", u"\u00E9\u4E2D\U0001F600"},
        {54936, "\xD6\xD0\x81\x30\x81\x30", u"\u4E2D\u0080"},
        {51932, "\xC6\xFC", u"\u65E5"},
        {65000, "+Tg0-", u"\u4E0D"},
        {1252, std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
        {65001, std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
        {932, "", u""},
    };
    for (const Pair& each : cases) {
        EXPECT_EQ(decodeText(each.codePage, each.bytes), each.text) << each.codePage;
        EXPECT_EQ(encodeText(each.codePage, each.text), each.bytes) << each.codePage;
    }
}

TEST(CodePages, BytesWithoutAMeaningBecomeTheDefaultUnit)
{
    const Pair cases[] = {
        {932, "\x81", u"\u30FB"},                                          // half a character at the end
        {932, std::string("\x81\0x", 3), std::u16string(u"\u30FB\0x", 3)}, // a NUL is no second half
        {932, "\x81\x20z", u"\u30FBz"},                                    // a pair without a meaning is one unit
        {936, "\xFE\x20z", u"?z"},
        {20127, "\xE1", u"a"}, // the top bit is dropped
        {65001, "\xFF", u"\uFFFD"},
        {65001, "a\xC3", u"a\uFFFD"},
        {65001, "\xE4\xB8z", u"\uFFFDz"},               // one for the longest part
        {65001, "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"}, // a surrogate is ill-formed in each byte
        {65001, "\xC0\x80", u"\uFFFD\uFFFD"},
        {65001, "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    for (const Pair& each : cases)
        EXPECT_EQ(decodeText(each.codePage, each.bytes), each.text) << each.codePage;
}

TEST(CodePages, UnitsThatAPageLacksAreFittedOrReplaced)
{
    const Pair cases[] = {
        {1252, "AaLlD", u"\u0100\u0101\u0141\u0142\uFF24"}, // letters without their marks; full width
        {1252, "???", u"\u041F\U0001F600"},                 // a surrogate pair is two units
        {1252, "-'8v", u"\u2212\u2032\u221E\u221A"},
        {1252, "\x83\xD0", u"\u0191\u0110"},
        {1251, "Ae?", u"\u00C4\u00E9\u4E2D"},
        {932, "\x5C\x7E?", u"\u00A5\u203E\u00E9"},
        {932, "\xFA\x40\x81\xCA", u"\u2170\u00AC"}, // of two codes for one character the one that Windows takes
        {874, "?", u"\u2640"},                      // no control characters for pictures
        {437, "\x0C", u"\u2640"},                   // save in the pages of the PC
        {500, "\x6F", u"\u4E2D"},                   // "?" in EBCDIC
        {65001, "\xEF\xBF\xBD", std::u16string(1, u'\xD800')},
    };
    for (const Pair& each : cases)
        EXPECT_EQ(encodeText(each.codePage, each.text), each.bytes) << each.codePage;
}

TEST(CodePages, UnknownPagesGiveNothing)
{
    for (const unsigned page : {4u, 1200u, 1201u, 12345u, 0xFFFFu, 0xFFFFFFFFu}) {
        EXPECT_FALSE(isKnownCodePage(page));
        EXPECT_EQ(decodeText(page, "abc"), u"");
        EXPECT_EQ(encodeText(page, u"abc"), "");
    }
    for (const unsigned page : {0u, 1u, 2u, 3u, 932u, 1252u, 65000u, 65001u})
        EXPECT_TRUE(isKnownCodePage(page)) << page;
}

// The tests run in the locale en_US without an override.
TEST(CodePages, TheSystemPageOfTheWestIs1252)
{
    EXPECT_EQ(systemCodePage(), 1252u);
    EXPECT_EQ(decodeText(codePageSystem, "\x80"), u"\u20AC");
    EXPECT_EQ(decodeText(1, "\xE6"), u"\u00B5"); // the page of the PC: 437
}

TEST(CodePages, TwoThreadsMayMeetAtAPageThatIsNotYetBuilt)
{
    std::vector<std::u16string> results(8);
    std::vector<std::thread> threads;
    for (std::u16string& result : results)
        threads.emplace_back([&result] { result = decodeText(949, "\xB0\xA1"); });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::u16string& result : results)
        EXPECT_EQ(result, u"\uAC00");
}

} // namespace
