#include "control/connection/StreamStatistics.h"

#include "ui/Texts.h"

namespace norix {

namespace {

const wchar_t* NameOf(VideoCodec codec) {
    switch (codec) {
        case VideoCodec::Mpeg4:
            return L"MPEG-4";
        case VideoCodec::Mjpeg:
            return L"Motion JPEG";
        case VideoCodec::H264:
            return L"H.264";
        case VideoCodec::H265:
            return L"H.265";
        default:
            return L"";
    }
}

const wchar_t* NameOf(EConnectProtocol protocol) {
    switch (protocol) {
        case ecpUDP:
            return L"UDP";
        case ecpTCP:
            return L"TCP";
        case ecpHTTP:
            return L"HTTP";
        case ecpMulticast:
            return L"Multicast";
        case ecpMulticastPush:
            return L"MulticastPush";
        default:
            return L"";
    }
}

}  // namespace

void StreamStatistics::Begin() {
    const unsigned kept = reconnections;
    *this = {};
    reconnections = kept;
    connected = true;
}

void StreamStatistics::Pass(const FrameRates& counts) {
    rates = counts;
    received += counts.received;
    decoded += counts.decoded;
    shown += counts.displayed;
}

std::vector<std::pair<std::wstring, std::wstring>> Figures(const StreamStatistics& statistics) {
    const auto text = [](auto number) { return std::to_wstring(number); };
    return {{L"connected", statistics.connected ? L"1" : L"0"},
            {L"codec", NameOf(statistics.codec)},
            {L"width", text(statistics.width)},
            {L"height", text(statistics.height)},
            {L"protocol", NameOf(statistics.protocol)},
            {L"receivedPerSecond", text(statistics.rates.received)},
            {L"decodedPerSecond", text(statistics.rates.decoded)},
            {L"shownPerSecond", text(statistics.rates.displayed)},
            {L"received", text(statistics.received)},
            {L"decoded", text(statistics.decoded)},
            {L"shown", text(statistics.shown)},
            {L"reconnections", text(statistics.reconnections)}};
}

std::wstring FigureText(const StreamStatistics& statistics, const std::wstring& name,
                        const std::wstring& fallback) {
    std::wstring json;
    for (const auto& [figure, text] : Figures(statistics)) {
        if (figure == name) return text;
        // Names and texts are our own: none of them needs escapes.
        json.append(json.empty() ? L"{ \"" : L", \"").append(figure);
        json.append(L"\": \"").append(text).append(L"\"");
    }
    return name.empty() ? json + L" }" : fallback;
}

std::wstring OverlayText(const StreamStatistics& statistics, const StatisticsTexts& texts) {
    const auto text = [](auto number) { return std::to_wstring(number); };
    const FrameRates& rates = statistics.rates;
    return Insert(texts.stream, {NameOf(statistics.codec), text(statistics.width), text(statistics.height)}) +
           L"\n" + Insert(texts.frames, {text(rates.received), text(rates.decoded), text(rates.displayed)}) +
           L"\n" +
           Insert(texts.totals,
                  {text(statistics.received), text(statistics.decoded), text(statistics.shown)}) +
           L"\n" + Insert(texts.link, {NameOf(statistics.protocol), text(statistics.reconnections)});
}

}  // namespace norix
