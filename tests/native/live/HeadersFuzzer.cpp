// Every header with a structure, addresses, and the answers to challenges.

#include <cstdint>
#include <cstdlib>

#include "live/rtsp/Headers.h"
#include "live/rtsp/Url.h"
#include "live/sdp/ParameterSets.h"
#include "live/sdp/SdpDescription.h"
#include "protocol/Challenge.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    live::rtsp::parseTransport(text);
    live::rtsp::parseRtpInfo(text);
    live::sdp::parseRange(text);
    if (const auto session = live::rtsp::parseSession(text)) {
        if (session->id.find_first_of("\r\n") != std::string::npos) std::abort();
    }
    for (const auto& challenge : protocol::parseChallenges(text)) {
        const std::string answer =
            protocol::authorize(challenge, {"user", "password"}, {"PLAY", "rtsp://a/", 1, "c"});
        if (answer.find_first_of("\r\n") != std::string::npos) std::abort();
    }
    if (const auto url = live::rtsp::parseUrl(text)) {
        if (url->port == 0 || url->host.empty()) std::abort();
        live::rtsp::controlUrl(url->plain, text);
    }
    unsigned count = 0;
    const std::unique_ptr<SPropRecord[]> records(parseSPropParameterSets(text.c_str(), count));
    return 0;
}
