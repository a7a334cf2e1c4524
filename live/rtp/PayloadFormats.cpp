#include "live/rtp/PayloadFormats.h"

#include "live/rtp/H264Depacketizer.h"
#include "live/rtp/H265Depacketizer.h"
#include "live/rtp/JpegDepacketizer.h"
#include "live/rtp/Mpeg4GenericDepacketizer.h"
#include "live/rtp/Mpeg4VideoDepacketizer.h"
#include "live/rtp/SimpleAudioDepacketizer.h"
#include "protocol/Text.h"

namespace live::rtp {
namespace {

unsigned number(const sdp::Media& media, std::string_view name) {
    for (const auto& [attribute, value] : media.attributes) {
        if (attribute == name) return protocol::parseNumber(value).value_or(0);
    }
    return 0;
}

std::unique_ptr<Depacketizer> makeGeneric(const sdp::Media& media, std::string& error) {
    constexpr unsigned kAacUnit = 1024;  // samples per access unit, the clock counts samples
    Mpeg4GenericFormat format;
    format.sizeLength = number(media, "sizelength");
    format.indexLength = number(media, "indexlength");
    format.indexDeltaLength = number(media, "indexdeltalength");
    format.ctsDeltaLength = number(media, "ctsdeltalength");
    format.dtsDeltaLength = number(media, "dtsdeltalength");
    format.randomAccessIndication = number(media, "randomaccessindication") != 0;
    format.streamStateLength = number(media, "streamstateindication");
    format.auxiliarySizeLength = number(media, "auxiliarydatasizelength");
    format.constantSize = number(media, "constantsize");
    format.constantDuration = number(media, "constantduration");
    if (!format.valid()) {
        error = "MPEG4-GENERIC format parameters are out of range";
        return nullptr;
    }
    return std::make_unique<Mpeg4GenericDepacketizer>(format, kAacUnit);
}

}  // namespace

std::unique_ptr<Depacketizer> makeDepacketizer(const sdp::Media& media, std::string& error) {
    const std::string& codec = media.codec;
    if (codec == "H264") return std::make_unique<H264Depacketizer>();
    if (codec == "H265") return std::make_unique<H265Depacketizer>(number(media, "sprop-max-don-diff") > 0);
    if (codec == "MP4V-ES") return std::make_unique<Mpeg4VideoDepacketizer>();
    if (codec == "JPEG") return std::make_unique<JpegDepacketizer>(media.width, media.height);
    if (codec == "PCMU" || codec == "PCMA") return std::make_unique<SimpleAudioDepacketizer>(media.channels);
    if (codec == "MPEG4-GENERIC") return makeGeneric(media, error);
    error = "RTP payload format unknown or not supported: " + codec;
    return nullptr;
}

}  // namespace live::rtp
