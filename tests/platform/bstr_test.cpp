#include <kvdocmgr/oletypes.h>
#include <kvdocmgr/owned.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string_view>

namespace {

TEST(Bstr, LengthStandsBeforeTheTextAndATerminatorBehindIt)
{
    BSTR text = SysAllocStringLen(u"a\0bc", 4);
    ASSERT_TRUE(text);
    std::uint32_t bytes = 0;
    std::memcpy(&bytes, reinterpret_cast<char*>(text) - 4, 4);
    EXPECT_EQ(bytes, 8u);
    EXPECT_EQ(SysStringLen(text), 4u);
    EXPECT_EQ(std::u16string_view(text, 5), std::u16string_view(u"a\0bc\0", 5));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(text) % 8, 0u);
    SysFreeString(text);

    BSTR odd = SysAllocStringByteLen("abc", 3);
    EXPECT_EQ(SysStringByteLen(odd), 3u);
    EXPECT_EQ(SysStringLen(odd), 1u);
    EXPECT_EQ(std::memcmp(odd, "abc\0", 5), 0); // the terminator follows the last byte
    SysFreeString(odd);

    BSTR blank = SysAllocStringLen(nullptr, 3);
    EXPECT_EQ(std::u16string_view(blank, 4), std::u16string_view(u"\0\0\0\0", 4));
    SysFreeString(blank);
}

TEST(Bstr, NullIsTheEmptyString)
{
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);
    BSTR empty = SysAllocString(u"");
    ASSERT_TRUE(empty);
    EXPECT_EQ(SysStringLen(empty), 0u);
    SysFreeString(empty);
}

TEST(Bstr, LengthsThatDoNotFitAreRefused)
{
    EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFF), nullptr);
    EXPECT_EQ(SysAllocStringLen(u"", 0x7FFFFFFF), nullptr); // twice that and the rest is past 32 bits
    EXPECT_EQ(SysAllocStringByteLen(nullptr, 0xFFFFFFFF), nullptr);
    BSTR text = SysAllocString(u"keep");
    EXPECT_FALSE(SysReAllocStringLen(&text, nullptr, 0xFFFFFFFF));
    EXPECT_EQ(std::u16string_view(text), u"keep");
    SysFreeString(text);
    for (const std::uint64_t units : {std::uint64_t{0x7FFFFFFF}, (std::uint64_t{1} << 32) + 1})
        EXPECT_THROW(kvdm::OwnedBstr(std::u16string_view(u"x", units)), std::bad_alloc) << "cut in silence it would be a short text";
}

TEST(Bstr, ReallocationMayTakeAPartOfItself)
{
    BSTR text = SysAllocString(u"0123456789");
    EXPECT_TRUE(SysReAllocString(&text, text + 5));
    EXPECT_EQ(std::u16string_view(text, SysStringLen(text)), u"56789");
    EXPECT_TRUE(SysReAllocStringLen(&text, text + 1, 3));
    EXPECT_EQ(std::u16string_view(text, SysStringLen(text)), u"678");
    EXPECT_TRUE(SysReAllocStringLen(&text, nullptr, 5)); // without a text the content stays
    EXPECT_EQ(std::u16string_view(text, SysStringLen(text)), std::u16string_view(u"678\0\0", 5));
    EXPECT_TRUE(SysReAllocStringLen(&text, nullptr, 2));
    EXPECT_EQ(std::u16string_view(text), u"67");
    EXPECT_TRUE(SysReAllocString(&text, nullptr));
    EXPECT_EQ(text, nullptr);
    EXPECT_FALSE(SysReAllocString(nullptr, u"x"));
}

} // namespace
