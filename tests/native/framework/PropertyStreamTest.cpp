#include "framework/PropertyStream.h"

#include <gtest/gtest.h>

#include <limits>
#include <span>

#include "tests/native/framework/PropertySets.h"

namespace framework {
namespace {

using test::Same;
using Bytes = std::vector<std::uint8_t>;

std::span<const std::uint8_t> Header(const Bytes& stream) {
    return std::span(stream).first(kPropertyHeaderSize);
}
std::span<const std::uint8_t> Body(const Bytes& stream) {
    return std::span(stream).subspan(kPropertyHeaderSize);
}

// Every type with its awkward values.
PropertySet Samples() {
    return {8467,
            -1,
            {{u"Flag", true},
             {u"Off", false},
             {u"Small", std::numeric_limits<std::int16_t>::min()},
             {u"Number", std::numeric_limits<std::int32_t>::min()},
             {u"Ratio", std::numeric_limits<double>::denorm_min()},
             {u"NoNumber", std::numeric_limits<double>::quiet_NaN()},
             {u"Text", std::u16string(u"a\0\xD83D\uFFFF", 4)},
             {u"", std::u16string()}}};
}

TEST(PropertyStream, RoundTripsEveryTypeAndValue) {
    for (const PropertySet& set : {Samples(), PropertySet{}}) {
        const Bytes stream = EncodeProperties(set);
        ASSERT_GE(stream.size(), kPropertyHeaderSize);
        EXPECT_EQ(DecodePropertyHeader(Header(stream)), Body(stream).size());
        const auto decoded = DecodePropertyBody(Body(stream));
        ASSERT_TRUE(decoded);
        EXPECT_TRUE(Same(*decoded, set));
    }
}

// Documents that were saved once have to stay readable: the layout is fixed byte by byte.
TEST(PropertyStream, KeepsItsLayout) {
    const Bytes expected = {'N', 'X', 'P', 'S', 1,   0, 0, 0, 23, 0, 0, 0,  // magic, version, body length
                            2,   0,   0,   0,                               // extent
                            3,   0,   0,   0,                               //
                            1,   0,   0,   0,                               // one value
                            1,   0,   0,   0,   'A', 0,                     // its name
                            2,                                              // a 32-bit integer
                            4,   3,   2,   1};
    EXPECT_EQ(EncodeProperties({2, 3, {{u"A", std::int32_t{0x01020304}}}}), expected);
}

TEST(PropertyStream, RefusesHeadersOfAnythingElse) {
    const Bytes stream = EncodeProperties(Samples());
    const auto with = [&](std::size_t at, std::uint8_t value) {
        Bytes header(Header(stream).begin(), Header(stream).end());
        header[at] = value;
        return header;
    };
    EXPECT_TRUE(DecodePropertyHeader(Header(stream)));
    EXPECT_FALSE(DecodePropertyHeader(with(0, 'n')));    // magic
    EXPECT_FALSE(DecodePropertyHeader(with(4, 2)));      // version
    EXPECT_FALSE(DecodePropertyHeader(with(11, 0x80)));  // more bytes than any control has
    EXPECT_FALSE(DecodePropertyHeader(Header(stream).first(11)));
    EXPECT_FALSE(DecodePropertyHeader(std::span(stream).first(13)));

    Bytes limit = {'N', 'X', 'P', 'S', 1, 0, 0, 0, 0, 0, 0x10, 0};  // 1 MiB
    EXPECT_EQ(DecodePropertyHeader(limit), kMaxPropertyBytes);
    limit[8] = 1;
    EXPECT_FALSE(DecodePropertyHeader(limit));
}

TEST(PropertyStream, StoresNothingRatherThanMoreThanItWouldRead) {
    constexpr std::size_t kFixed = 4 + 4 + 4 + 4 + 1 + 4;  // everything but the text itself
    PropertySet set;
    set.values.push_back({u"", std::u16string((kMaxPropertyBytes - kFixed) / 2, u'x')});
    EXPECT_FALSE(EncodeProperties(set).empty());
    std::get<std::u16string>(set.values.front().value) += u'x';
    EXPECT_TRUE(EncodeProperties(set).empty());
}

}  // namespace
}  // namespace framework
