#include "camera/onvif/SoapReply.h"

#include <chrono>
#include <initializer_list>
#include <pugixml.hpp>

#include "camera/onvif/OnvifMedia.h"
#include "camera/onvif/SoapRequest.h"
#include "protocol/Text.h"

namespace norix::onvif {
namespace {

std::string_view LocalName(std::string_view name) {
    return name.substr(name.find(':') + 1);  // npos + 1 is 0
}

bool IsElement(const pugi::xml_node& node, std::string_view name) {
    return node.type() == pugi::node_element && LocalName(node.name()) == name;
}

pugi::xml_node Child(const pugi::xml_node& parent, std::string_view name) {
    return parent.find_child([name](const pugi::xml_node& node) { return IsElement(node, name); });
}

// Steps down by name; a null node, which has no children either, where a step leads nowhere.
pugi::xml_node Descend(pugi::xml_node node, std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names)
        node = Child(node, name);
    return node;
}

// Plain text and CDATA sections may take turns.
std::string TextOf(const pugi::xml_node& node) {
    std::string text;
    for (const pugi::xml_node& part : node.children()) {
        if (part.type() == pugi::node_pcdata || part.type() == pugi::node_cdata) text += part.value();
    }
    return std::string(protocol::trim(text));
}

std::optional<std::uint32_t> NumberOf(const pugi::xml_node& node, std::uint32_t limit) {
    return protocol::parseNumber(TextOf(node), limit);
}

// A reply that is XML and an envelope. Parsing neither recurses nor throws, and leaves entities that XML
// doesn't define itself as they are.
class Reply {
  public:
    explicit Reply(std::string_view text) {
        if (text.size() > kOnvifLargestReply) return;
        constexpr unsigned kFlags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_doctype;
        if (!m_document.load_buffer(text.data(), text.size(), kFlags)) return;
        for (const pugi::xml_node& node : m_document.children()) {
            // SOAP forbids document types (1.2, part 1, section 5), whose entities could grow without bound.
            if (node.type() == pugi::node_doctype) return;
        }
        m_body = Descend(m_document, {"Envelope", "Body"});
    }

    pugi::xml_node In(std::initializer_list<std::string_view> names) const { return Descend(m_body, names); }

  private:
    pugi::xml_document m_document;
    pugi::xml_node m_body;
};

// "25", and "25.0" as some write it.
std::uint32_t FrameRate(const pugi::xml_node& node) {
    constexpr std::uint32_t kMost = 1000;
    const std::string text = TextOf(node);
    std::string_view whole = text;
    return protocol::parseNumber(protocol::take(whole, '.'), kMost).value_or(0);
}

KsOnvifCodec CodecOf(const pugi::xml_node& encoding) {
    const std::string name = TextOf(encoding);
    if (name == "JPEG") return kKsOnvifJpeg;
    if (name == "MPEG4") return kKsOnvifMpeg4;
    return name == "H264" ? kKsOnvifH264 : kKsOnvifAnyCodec;
}

// A camera that moves at a speed names the space of velocity that counts where a request names none.
PtzAxes AxesOf(const pugi::xml_node& configuration) {
    constexpr std::string_view kGeneric = "VelocityGenericSpace";
    PtzAxes axes;
    const auto has = [&](std::string_view name) {
        const pugi::xml_node space = Child(configuration, name);
        if (space && !TextOf(space).ends_with(kGeneric)) axes.ownSpaces = true;
        return !space.empty();
    };
    axes.turns = has("DefaultContinuousPanTiltVelocitySpace");
    axes.zooms = has("DefaultContinuousZoomVelocitySpace");
    return axes;
}

}  // namespace

bool Fault::IsDenial() const {
    return code == "NotAuthorized" || code == "FailedAuthentication" || code == "FailedCheck";
}

std::optional<std::int64_t> ParseSystemDateAndTime(std::string_view text) {
    using namespace std::chrono;
    const Reply reply(text);
    const pugi::xml_node utc = reply.In({"GetSystemDateAndTimeResponse", "SystemDateAndTime", "UTCDateTime"});
    const pugi::xml_node date = Child(utc, "Date");
    const pugi::xml_node time = Child(utc, "Time");
    const auto year = NumberOf(Child(date, "Year"), 9999);
    const auto month = NumberOf(Child(date, "Month"), 12);
    const auto day = NumberOf(Child(date, "Day"), 31);
    const auto hour = NumberOf(Child(time, "Hour"), 23);
    const auto minute = NumberOf(Child(time, "Minute"), 59);
    const auto second = NumberOf(Child(time, "Second"), 60);  // 60: a leap second
    if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
    const year_month_day when(std::chrono::year(static_cast<int>(*year)), std::chrono::month(*month),
                              std::chrono::day(*day));
    if (!when.ok()) return std::nullopt;
    return std::int64_t{sys_days(when).time_since_epoch().count()} * 86400 + *hour * 3600 + *minute * 60 +
           *second;
}

std::optional<std::vector<ServiceAddress>> ParseServices(std::string_view text) {
    const Reply reply(text);
    const pugi::xml_node response = reply.In({"GetServicesResponse"});
    if (!response) return std::nullopt;
    std::vector<ServiceAddress> services;
    for (const pugi::xml_node& node : response.children()) {
        if (!IsElement(node, "Service")) continue;
        ServiceAddress service{TextOf(Child(node, "Namespace")), TextOf(Child(node, "XAddr"))};
        if (!service.address.empty()) services.push_back(std::move(service));
    }
    return services;
}

std::string ParseCapabilities(std::string_view text, const char* category) {
    return TextOf(Reply(text).In({"GetCapabilitiesResponse", "Capabilities", category, "XAddr"}));
}

std::optional<std::vector<Profile>> ParseProfiles(std::string_view text) {
    const Reply reply(text);
    const pugi::xml_node response = reply.In({"GetProfilesResponse"});
    if (!response) return std::nullopt;
    std::vector<Profile> profiles;
    for (const pugi::xml_node& node : response.children()) {
        if (!IsElement(node, "Profiles")) continue;
        if (profiles.size() == kOnvifMostProfiles) break;
        Profile profile;
        profile.token = node.attribute("token").value();
        profile.source = TextOf(Descend(node, {"VideoSourceConfiguration", "SourceToken"}));
        profile.codec = CodecOf(Descend(node, {"VideoEncoderConfiguration", "Encoding"}));
        profile.frameRateLimit =
            FrameRate(Descend(node, {"VideoEncoderConfiguration", "RateControl", "FrameRateLimit"}));
        if (const pugi::xml_node ptz = Child(node, "PTZConfiguration")) profile.ptz = AxesOf(ptz);
        profiles.push_back(std::move(profile));
    }
    return profiles;
}

std::string ParseStreamUri(std::string_view text) {
    return TextOf(Reply(text).In({"GetStreamUriResponse", "MediaUri", "Uri"}));
}

std::optional<std::vector<Preset>> ParsePresets(std::string_view text) {
    const Reply reply(text);
    const pugi::xml_node response = reply.In({"GetPresetsResponse"});
    if (!response) return std::nullopt;
    std::vector<Preset> presets;
    for (const pugi::xml_node& node : response.children()) {
        if (!IsElement(node, "Preset")) continue;
        if (presets.size() == kOnvifMostPresets) break;
        Preset preset{node.attribute("token").value(), TextOf(Child(node, "Name"))};
        if (!preset.token.empty()) presets.push_back(std::move(preset));
    }
    return presets;
}

std::string ParseSetPreset(std::string_view text) {
    return TextOf(Reply(text).In({"SetPresetResponse", "PresetToken"}));
}

std::optional<Fault> ParseFault(std::string_view text) {
    const Reply reply(text);
    const pugi::xml_node node = reply.In({"Fault"});
    if (!node) return std::nullopt;
    Fault fault;
    // Codes become more specific from one to the next within it; there are two or three.
    pugi::xml_node code = Child(node, "Code");
    for (int depth = 0; code && depth < 4; ++depth, code = Child(code, "Subcode")) {
        fault.code = LocalName(TextOf(Child(code, "Value")));
    }
    fault.reason = TextOf(Descend(node, {"Reason", "Text"}));
    // SOAP 1.1, which some answer with whatever they were asked in.
    if (fault.code.empty()) fault.code = LocalName(TextOf(Child(node, "faultcode")));
    if (fault.reason.empty()) fault.reason = TextOf(Child(node, "faultstring"));
    return fault;
}

}  // namespace norix::onvif
