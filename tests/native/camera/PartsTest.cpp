// Parameters, codec lists, charsets and what follows from a reply, piece by piece.

#include <gtest/gtest.h>

#include "camera/CgiParams.h"
#include "camera/Charset.h"
#include "camera/CodecList.h"
#include "camera/FrameRateIndex.h"

namespace norix {
namespace {

TEST(CgiParams, QueryValuesCannotAddParameters) {
    std::int32_t number = -5;
    std::string text = "Front door/1:2?;";
    std::string hostile = "a&b=c%26\r\nX: +#\"<\x80\r";
    const std::vector<CgiParam> table{{"n", number}, {"t", text}, {"h", hostile}};
    std::string query = "/p?";
    AppendQuery(query, table);
    EXPECT_EQ(query, "/p?n=-5&t=Front%20door/1:2?;&h=a%26b%3Dc%2526%0D%0AX:%20%2B%23%22%3C%80");
}

TEST(CgiParams, RepliesReachTheirDestinations) {
    std::int32_t number = 7;
    std::int32_t missing = 8;
    std::string text;
    const std::vector<CgiParam> table{
        {"n", number}, {"m", missing}, {"t", text}, {"t", text}, {"n", missing}};
    const auto parse = [&](std::string_view reply) { ParseCGIParams(reply, table.data(), table.size()); };
    parse("\n\nno line\nN=1\n n=2\nn2=3\nm=Not Exist\nt=a=b\r\nx");
    EXPECT_EQ(number, 7);
    EXPECT_EQ(text, "a=b\r");
    struct Case {
        const char* value;
        std::int32_t number;
    };
    for (const Case& c : {Case{"12x", 12}, Case{"", 0}, Case{"x1", 0}, Case{"-3", -3}, Case{" 4", 4},
                          Case{"99999999999999999999", 2147483647}, Case{"-99999999999", -2147483647 - 1}}) {
        parse("n=" + std::string(c.value) + "\r\n");
        EXPECT_EQ(number, c.number) << c.value;
    }
    parse("m=Not Exist\r\n");
    parse("m=not exist");
    EXPECT_EQ(missing, 0) << "only the exact words keep the value";
    ParseCGIParams("m=5", table.data(), 1);
    EXPECT_EQ(missing, 0) << "no more entries than told";

    std::wstring wide;
    const std::vector<CgiParamW> wideTable{{"w", wide}, {"n", number}};
    ParseCGIParamsW(L"w=\x95E8\x53E3\nn=\xFF11\n", wideTable.data(), wideTable.size());
    EXPECT_EQ(wide, L"\x95E8\x53E3");
    EXPECT_EQ(number, 0) << "ASCII digits only";
}

TEST(CodecList, IsReadTolerantly) {
    struct Case {
        const char* value;
        std::vector<std::vector<std::uint8_t>> channels;
    };
    const Case cases[] = {{"h264,mjpg;h264|mp4v,h264", {{4, 2}, {5, 4}}},
                          {" H264 | MJPEG , mpeg4 ; jpeg ;\r", {{6, 1}, {2}}},
                          {"7,4;,h264,;;2", {{7, 4}, {0, 4}, {0}, {2}}},
                          {"h265,h264", {{8, 4}}},
                          {"HEVC|h264,12", {{12, 12}}},
                          {"h266", {}},
                          {"", {}},
                          {";;,|,;", {}},
                          {"16,-1,4294967300", {}}};
    for (const Case& c : cases) {
        const auto list = ParseCodecList(c.value);
        EXPECT_EQ(list.has_value(), !c.channels.empty()) << c.value;
        if (list) {
            EXPECT_EQ(list->channels, c.channels) << c.value;
        }
    }
    std::string endless;
    for (int i = 0; i < 1000; ++i)
        endless += "h264,";
    EXPECT_EQ(ParseCodecList(endless)->channels[0].size(), CodecList::kMaxStreams);
    std::replace(endless.begin(), endless.end(), ',', ';');
    EXPECT_EQ(ParseCodecList(endless)->channels.size(), CodecList::kMaxChannels);
}

TEST(CodecList, SelectionsAreFitted) {
    using enum VideoCodec;
    const auto list = ParseCodecList("h264|mjpg,mjpg|mp4v;mjpg,h265|mjpg");
    struct Case {
        StreamSelection wanted;
        StreamSelection fitted;
    };
    for (const Case& c : {Case{{1, 1, Mjpeg}, {1, 1, Mjpeg}}, Case{{1, 1, Mpeg4}, {1, 1, H264}},
                          Case{{1, 2, None}, {1, 2, Mpeg4}}, Case{{9, 9, Mpeg4}, {2, 2, H265}},
                          Case{{0, -7, H264}, {1, 1, H264}}, Case{{2, 1, H264}, {2, 1, Mjpeg}}}) {
        EXPECT_EQ(SelectStream(*list, c.wanted), c.fitted)
            << c.wanted.channel << '/' << c.wanted.stream << '/' << static_cast<int>(c.wanted.codec);
    }
}

TEST(FrameRateIndex, MeansFramesPerSecondWithoutAnExplicitType) {
    EXPECT_EQ(FramesPerSecondOfIndex(1, 0, 5), 30);
    EXPECT_EQ(FramesPerSecondOfIndex(2, 0, 3), 8);
    for (const auto& [standard, type, rate] :
         {std::array{1, 1, 5}, {0, 0, 5}, {3, 0, 5}, {1, 0, 0}, {2, 0, 6}, {1, 0, -1}})
        EXPECT_FALSE(FramesPerSecondOfIndex(standard, type, rate));
}

TEST(Charset, IsFoundInTheContentType) {
    struct Case {
        const char* headers;
        const char* charset;  // null: none
    };
    for (const Case& c :
         {Case{"HTTP/1.0 200 OK\r\nContent-Type: text/plain; charset=gb2312\r\nX: 1\r\n", "gb2312"},
          Case{"content-type:text/html;a=b; Charset = \"GB2312\" ; c=d", "GB2312"},
          Case{"Content-Type: text/html\r\nContent-Type: text/html; charset=gb2312\r\n", nullptr},
          Case{"X: Content-Type; charset=gb2312\r\n", nullptr}, Case{"Content-Type: a; charset", nullptr},
          Case{"Content-Type: charset=", ""}, Case{"", nullptr}}) {
        const auto charset = FindCharset(c.headers);
        EXPECT_EQ(charset.has_value(), c.charset != nullptr) << c.headers;
        if (charset && c.charset) {
            EXPECT_EQ(*charset, c.charset);
        }
    }
    EXPECT_EQ(CodePageOf("GB2312\r"), kCodePageGb2312);
    EXPECT_EQ(CodePageOf("utf-8"), kCodePageAscii);
}

}  // namespace
}  // namespace norix
