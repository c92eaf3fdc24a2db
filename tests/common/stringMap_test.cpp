#include "common/stringMap.h"

#include <gtest/gtest.h>

using namespace kvdm;

namespace {

std::u16string order(const StringMap<int>& map)
{
    std::u16string keys;
    map.forEach([&](const std::u16string& key, int) { keys += key + u' '; });
    return keys;
}

// Clients see this order. The hash of one unit is the unit itself: "a" is 97, bucket 12; "f" is 102, bucket 0.
TEST(StringMap, EnumerationRunsBucketByBucketFromTheNewestKey)
{
    StringMap<int> map;
    for (const char16_t* key : {u"a", u"f", u"A", u"r", u"z", u"w"})
        map.set(key, 0);
    EXPECT_EQ(order(map), u"w f z r a A ");

    StringMap<int> longer; // "ab" is 97 * 33 + 98 = 3299, bucket 1; "ba" is 98 * 33 + 97 = 3331, bucket 16; "" is bucket 0
    for (const char16_t* key : {u"ba", u"ab", u""})
        longer.set(key, 0);
    EXPECT_EQ(order(longer), u" ab ba ");

    StringMap<int> wrapped; // the hash is kept in 32 bits: 0xFFFF, 8 times, is 2816744568, bucket 16; "U" (85) is bucket 0
    wrapped.set(std::u16string(8, u'\xFFFF'), 1);
    wrapped.set(u"U", 2);
    wrapped.set(u"\x5F", 3); // 95, bucket 10
    EXPECT_EQ(order(wrapped), u"U _ " + std::u16string(8, u'\xFFFF') + u' ');
}

TEST(StringMap, AKnownKeyKeepsItsPlace)
{
    StringMap<int> map;
    map.set(u"f", 1);
    map.set(u"w", 2);
    map.set(u"f", 3);
    EXPECT_EQ(order(map), u"w f ");
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(*map.find(u"f"), 3);
    EXPECT_EQ(map.find(u"F"), nullptr); // exact
    EXPECT_TRUE(map.remove(u"f"));
    EXPECT_FALSE(map.remove(u"f"));
    map.set(u"f", 4); // a key that comes back is new
    EXPECT_EQ(order(map), u"f w ");
    map.clear();
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(order(map), u"");
}

TEST(StringMap, EntriesMoveToAnotherMap)
{
    StringMap<int> map;
    StringMap<int> other;
    for (const char16_t* key : {u"f", u"w", u"a"})
        map.set(key, static_cast<int>(map.size()));
    EXPECT_TRUE(map.moveTo(other, u"f"));
    EXPECT_TRUE(map.moveTo(other, u"w", u"U")); // the bucket of "f"
    EXPECT_FALSE(map.moveTo(other, u"w"));
    EXPECT_EQ(order(other), u"U f ");
    EXPECT_TRUE(map.moveTo(other, u"a", u"f")); // replaces it in its place
    EXPECT_EQ(order(other), u"U f ");
    EXPECT_EQ(*other.find(u"f"), 2);
    EXPECT_EQ(other.size(), 2u);
    EXPECT_TRUE(map.empty());
}

} // namespace
