#include "camera/onvif/OnvifRoute.h"

#include <array>
#include <string_view>

#include "protocol/Url.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix {
namespace {

// As the RTSP client takes it, or empty. Some cameras give the tunnel's address as one of HTTP.
std::string StreamAddress(const char* stated, std::uint32_t protocol) {
    const auto url = protocol::parseUrl(stated);
    if (!url) return {};
    if (url->scheme == "rtsp") return url->plain;
    constexpr std::string_view kHttp = "http";
    if (protocol == kKsOnvifHttp && url->scheme == kHttp) return "rtsp" + url->plain.substr(kHttp.size());
    return {};
}

}  // namespace

std::optional<OnvifStream> AskOnvif(IKsOnvifMedia& media, const OnvifQuestion& question,
                                    KsOnvifResult* code) {
    if (question.protocol < kKsOnvifUdp || question.protocol > kKsOnvifMulticast) return std::nullopt;
    const auto failed = [code](const char* step, KsOnvifResult result) {
        if (code != nullptr) *code = result;
        NORIX_LOG("AskOnvif", 1, "%s failed: 0x%08x", step, static_cast<unsigned>(result));
        return std::nullopt;
    };
    const KsOnvifCamera camera{question.host.c_str(),     question.port,
                               question.secure ? 1u : 0u, question.user.c_str(),
                               question.password.c_str(), question.mediaServiceUri.c_str()};
    KsOnvifResult result = media.Open(&camera);
    if (result < 0) return failed("Open", result);

    OnvifStream stream;
    stream.profileToken = question.profileToken;
    if (question.profileToken.empty()) {
        std::array<char, kKsOnvifTokenRoom> token{};
        result = media.GetProfileByIndex(question.channel, question.streamIndex, question.codec, token.data(),
                                         token.size());
        if (result < 0) return failed("GetProfileByIndex", result);
        token.back() = '\0';
        stream.profileToken = token.data();
    } else {
        result = media.GetProfileByToken(question.profileToken.c_str());
        if (result < 0) return failed("GetProfileByToken", result);
    }

    std::array<char, kKsOnvifUriRoom> uri{};
    result = media.GetStreamUri(stream.profileToken.c_str(), question.protocol, uri.data(), uri.size());
    if (result < 0) return failed("GetStreamUri", result);
    uri.back() = '\0';
    stream.uri = StreamAddress(uri.data(), question.protocol);
    if (stream.uri.empty()) {
        NORIX_LOG("AskOnvif", 1, "not a stream address: %s", util::RedactSecrets(uri.data()).c_str());
        return std::nullopt;
    }

    result = media.GetFrameRateLimit(stream.profileToken.c_str(), &stream.frameRateLimit);
    if (result < 0) stream.frameRateLimit = 0;
    return stream;
}

}  // namespace norix
