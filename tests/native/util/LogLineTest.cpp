#include "util/LogLine.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "AppendText.h"

namespace util {
namespace {

struct Origin {
    std::wstring file;
    int line;
    std::wstring function;
};

template <class Char>
std::basic_string<Char> As(const std::wstring& text) {
    return {text.begin(), text.end()};
}

template <class Char>
std::wstring Build(std::optional<int> threadId, const std::wstring& text, std::optional<Origin> origin) {
    LogLine<Char> line;
    if (threadId) {
        line.Begin(*threadId);
    } else {
        line.Begin();
    }
    test::AppendText(line, As<Char>(text).c_str());
    if (origin)
        line.Location(As<Char>(origin->file).c_str(), origin->line, As<Char>(origin->function).c_str());
    line.End();
    EXPECT_EQ(line.Str(), line.CStr());
    return {line.Str().begin(), line.Str().end()};
}

TEST(LogLine, HasTagThreadTextLocationAndLineEnd) {
    struct Case {
        std::optional<int> threadId;
        std::wstring text;
        std::optional<Origin> origin;
        std::wstring line;
    };
    const Case cases[] = {
        {std::nullopt, L"text", std::nullopt, L"[NorixSDK]text\r\n"},
        {std::nullopt, L"", std::nullopt, L"[NorixSDK]\r\n"},
        {42, L"text", std::nullopt, L"[NorixSDK][T00042] text\r\n"},
        {1234567, L"text", std::nullopt, L"[NorixSDK][T1234567] text\r\n"},
        {std::nullopt, L"a\r\nb", std::nullopt, L"[NorixSDK]a\r\nb\r\n"},
        {7, L"x", Origin{L".\\control\\NorixSDKCtl.cpp", 120, L"CNorixSDKCtrl::OnTimer"},
         L"[NorixSDK][T00007] x [NorixSDKCtl.cpp(120) CNorixSDKCtrl::OnTimer()]\r\n"},
        {std::nullopt, L"x", Origin{L"/src/render/decode/Decoder.cpp", 1, L"F"},
         L"[NorixSDK]x [Decoder.cpp(1) F()]\r\n"},
        {std::nullopt, L"x", Origin{L"a/b\\c.cpp", 1, L"F"}, L"[NorixSDK]x [c.cpp(1) F()]\r\n"},
        {std::nullopt, L"x", Origin{L"a\\b/c.cpp", 1, L"F"}, L"[NorixSDK]x [c.cpp(1) F()]\r\n"},
        {std::nullopt, L"x", Origin{L"c.cpp", 99999, L""}, L"[NorixSDK]x [c.cpp(99999) ()]\r\n"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Build<char>(c.threadId, c.text, c.origin), c.line);
        EXPECT_EQ(Build<wchar_t>(c.threadId, c.text, c.origin), c.line);
    }
}

template <class Char>
void ExpectCuts() {
    const Origin origin{L"File.cpp", 12, L"C::M"};
    for (const size_t length : {2046, 2047, 2048, 5000}) {
        const std::wstring kept(std::min<size_t>(length, 2047), L'x');
        EXPECT_EQ(Build<Char>(7, std::wstring(length, L'x'), origin),
                  L"[NorixSDK][T00007] " + kept + L" [File.cpp(12) C::M()]\r\n");
    }
    const std::wstring longest = Build<Char>(7, std::wstring(5000, L'x'),
                                             Origin{std::wstring(3000, L'f'), 12, std::wstring(3000, L'm')});
    EXPECT_EQ(longest.size(), kLogLineCapacity - 1);
    EXPECT_TRUE(longest.ends_with(L"f\r\n"));
}

TEST(LogLine, CutsTextsAndLocationsButNeverTheLineEnd) {
    ExpectCuts<char>();
    ExpectCuts<wchar_t>();
}

}  // namespace
}  // namespace util
