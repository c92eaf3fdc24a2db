#include <kvdocmgr/text.h>

#include <gtest/gtest.h>

using namespace kvdm;

namespace {

TEST(Unicode, WellFormedTextGoesBothWays)
{
    const std::pair<std::string, std::u16string> cases[] = {
        {"plain", u"plain"},
        {"\xC2\x80\xDF\xBF", u"\u0080\u07FF"},
        {"\xE0\xA0\x80\xEF\xBF\xBF", u"\u0800\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
        {std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
    };
    for (const auto& [narrow, wide] : cases) {
        EXPECT_EQ(fromUtf8(narrow), wide);
        EXPECT_EQ(toUtf8(wide), narrow);
    }
}

TEST(Unicode, IllFormedBytesAreReplacedOrKept)
{
    const std::string cases[] = {
        "\x80",     "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
        "\xE4\xB8", "\xFF"};
    for (const std::string& bytes : cases) {
        EXPECT_EQ(fromUtf8("a" + bytes + "z"), u"a" + std::u16string(bytes.size(), u'\xFFFD') + u"z") << bytes;
        const std::u16string kept = fromUtf8(bytes, IllFormed::keep);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            EXPECT_EQ(kept.at(i), 0xDC00 + static_cast<unsigned char>(bytes[i]));
        EXPECT_EQ(toUtf8(kept, IllFormed::keep), bytes);
    }
}

TEST(Unicode, LoneSurrogatesAreReplaced)
{
    for (const std::u16string& text :
         {std::u16string(1, char16_t(0xD800)), std::u16string(1, char16_t(0xDC00)), std::u16string(1, char16_t(0xDFFF))}) {
        EXPECT_EQ(toUtf8(text), "\xEF\xBF\xBD");
        EXPECT_EQ(toUtf8(text + u"z"), "\xEF\xBF\xBDz");
    }
    EXPECT_EQ(toUtf8(std::u16string{char16_t(0xDC00), char16_t(0xD800)}), "\xEF\xBF\xBD\xEF\xBF\xBD"); // the wrong way round
}

} // namespace
