#include "util/Text.h"

#include <gtest/gtest.h>

namespace util {
namespace {

TEST(Text, ConvertsUtf8BothWays) {
    const std::pair<std::string, std::wstring> cases[] = {
        {"", L""},
        {"abc", L"abc"},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xA5", L"\u00E9\u20AC\xD83C\xDFA5"},
        {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
    };
    for (const auto& [utf8, wide] : cases) {
        EXPECT_EQ(Utf8ToWide(utf8), wide);
        EXPECT_EQ(WideToUtf8(wide), utf8);
    }
}

TEST(Text, ReplacesWhatIsMalformed) {
    for (const std::string bad : {"\xFF", "\xC3", "\x80", "\xE2\x82", "\xC0\xAF", "\xED\xA0\x80"}) {
        const std::wstring wide = Utf8ToWide("<" + bad + ">");
        EXPECT_TRUE(wide.starts_with(L"<\uFFFD") && wide.ends_with(L"\uFFFD>"));
        EXPECT_EQ(wide.find_first_not_of(L"<\uFFFD>"), wide.npos);
    }
    EXPECT_EQ(WideToUtf8(L"<\xD800>"), "<\xEF\xBF\xBD>");
    EXPECT_EQ(WideToUtf8(L"<\xDC00\xD800>"), "<\xEF\xBF\xBD\xEF\xBF\xBD>");
}

TEST(Text, BstrsKeepEmbeddedZerosAndMayBeNull) {
    const std::wstring text(L"a\0b", 3);
    EXPECT_EQ(BstrView(MakeBstr(text).Get()), text);
    EXPECT_EQ(BstrView(nullptr), L"");
    const UniqueBstr empty = MakeBstr(L"");
    ASSERT_TRUE(empty);
    EXPECT_EQ(SysStringLen(empty.Get()), 0u);
}

}  // namespace
}  // namespace util
