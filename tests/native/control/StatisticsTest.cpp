#include <gtest/gtest.h>

#include "control/PageFields.h"
#include "control/connection/StreamStatistics.h"

namespace norix::test {
namespace {

StreamStatistics Some() {
    StreamStatistics statistics;
    statistics.reconnections = 2;
    statistics.Begin();
    statistics.codec = VideoCodec::H264;
    statistics.width = 1920;
    statistics.height = 1080;
    statistics.protocol = ecpTCP;
    statistics.Pass({25, 24, 23, 20});
    statistics.Pass({30, 30, 29, 20});
    return statistics;
}

TEST(Statistics, TellRatesAndSums) {
    const StreamStatistics statistics = Some();
    for (const auto& [name, text] : {std::pair(L"codec", L"H.264"),
                                     {L"width", L"1920"},
                                     {L"protocol", L"TCP"},
                                     {L"receivedPerSecond", L"30"},
                                     {L"shownPerSecond", L"29"},
                                     {L"received", L"55"},
                                     {L"decoded", L"54"},
                                     {L"shown", L"52"},
                                     {L"reconnections", L"2"},
                                     {L"connected", L"1"},
                                     {L"weather", L"unknown"}})
        EXPECT_EQ(FigureText(statistics, name, L"unknown"), text) << name;
    const std::wstring all = FigureText(statistics, L"", L"unknown");
    EXPECT_EQ(all.find(L"{ \"connected\": \"1\", \"codec\": \"H.264\""), 0u);
    EXPECT_EQ(all.substr(all.size() - 22), L"\"reconnections\": \"2\" }") << "the last one";
    EXPECT_EQ(OverlayText(statistics, {L"%1 %2 %3", L"%1,%2,%3", L"%3", L"%1 (%2)"}),
              L"H.264 1920 1080\n30,30,29\n52\nTCP (2)");
}

TEST(Statistics, BeginAnewWithEachStream) {
    StreamStatistics statistics = Some();
    statistics.Begin();
    EXPECT_EQ(FigureText(statistics, L"received", L""), L"0");
    EXPECT_EQ(FigureText(statistics, L"reconnections", L""), L"2") << "since the host connected";
}

TEST(PageFields, TakeNumbersWithinTheirBounds) {
    const PageField* const port = FieldOf(IDC_PAGE_HTTP_PORT);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(ParseField(*port, L"8080"), 8080);
    for (const wchar_t* text : {L"", L"0", L"65536", L"80a", L"-1", L"4294967376"})
        EXPECT_EQ(ParseField(*port, text), std::nullopt) << text;
    EXPECT_EQ(FieldOf(IDC_PAGE_NOTE), nullptr);
    for (const short protocol : kPageProtocols)
        EXPECT_EQ(kPageProtocols.at(static_cast<std::size_t>(ProtocolPosition(protocol))), protocol);
    EXPECT_EQ(ProtocolPosition(99), 0);
}

}  // namespace
}  // namespace norix::test
