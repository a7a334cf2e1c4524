#include "camera/onvif/OnvifSession.h"

#include <utility>

#include "camera/onvif/SoapRequest.h"
#include "protocol/Text.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix::onvif {
namespace {

constexpr char kDevicePath[] = "/onvif/device_service";

// What a camera wrote, or its beginning: for the log. Cut last, because half a secret isn't recognised as
// one.
std::string Quote(const std::string& text) {
    constexpr std::size_t kMost = 200;
    return util::RedactSecrets(text).substr(0, kMost);
}

bool IsWebAddress(const std::optional<protocol::Url>& url) {
    return url && url->scheme != "rtsp";
}

}  // namespace

std::optional<Session> Session::Begin(HttpTransport& transport, const OnvifSurroundings& surroundings,
                                      const KsOnvifCamera& camera) {
    Session session(transport, surroundings);
    session.m_user = camera.user;
    session.m_password = camera.password;
    if (*camera.mediaService != '\0') {
        if (!session.SetMediaService(camera.mediaService)) return std::nullopt;
    } else {
        if (*camera.host == '\0' || camera.port == 0 || camera.port > 0xFFFF) return std::nullopt;
        session.m_device.secure = camera.secure != 0;
        session.m_device.host = camera.host;
        session.m_device.port = static_cast<std::uint16_t>(camera.port);
    }
    session.m_device.path = kDevicePath;
    session.m_begun = surroundings.milliseconds();
    return session;
}

bool Session::SetMediaService(const char* address) {
    const auto url = protocol::parseUrl(address);
    if (!IsWebAddress(url)) {
        NORIX_LOG("onvif::Session::SetMediaService", 1, "not a service address: %s", Quote(address).c_str());
        return false;
    }
    m_media = Service{url->scheme == "https", url->host, url->port, url->path};
    m_device = *m_media;
    if (m_user.empty()) {
        m_user = url->user;
        m_password = url->password;
    }
    return true;
}

KsOnvifResult Session::GetStreamUri(std::string_view token, std::uint32_t transport, std::string& uri) {
    const Operation operation{"GetStreamUri", kMediaNamespace, GetStreamUriBody(token, transport)};
    if (operation.body.empty()) return kKsOnvifBadArgument;
    if (const KsOnvifResult result = LearnProfiles(); result != kKsOnvifOk) return result;
    std::string reply;
    const KsOnvifResult result = Call(*m_media, operation, true, reply);
    if (result != kKsOnvifOk) return result;
    uri = ParseStreamUri(reply);
    return uri.empty() ? Refuse(operation.name, 200, reply) : kKsOnvifOk;
}

KsOnvifResult Session::LearnProfiles() {
    if (!m_profilesResult) m_profilesResult = AskForProfiles();
    return *m_profilesResult;
}

KsOnvifResult Session::AskForProfiles() {
    if (!m_user.empty()) AskForClock();
    if (const KsOnvifResult result = FindMediaService(); result != kKsOnvifOk) return result;
    const Operation operation{"GetProfiles", kMediaNamespace, GetProfilesBody()};
    std::string reply;
    const KsOnvifResult result = Call(*m_media, operation, true, reply);
    if (result != kKsOnvifOk) return result;
    auto profiles = ParseProfiles(reply);
    if (!profiles) return Refuse(operation.name, 200, reply);
    m_profiles = std::move(*profiles);
    return kKsOnvifOk;
}

// Cameras take a digest only if its time is near their own, which may be years off. Without an answer, ours
// has to do.
void Session::AskForClock() {
    const Operation operation{"GetSystemDateAndTime", kDeviceNamespace, GetSystemDateAndTimeBody()};
    std::string reply;
    if (Call(m_device, operation, false, reply) != kKsOnvifOk) return;
    if (const auto time = ParseSystemDateAndTime(reply)) {
        m_clockOffset = *time - m_surroundings->utcSeconds();
    } else {
        Refuse(operation.name, 200, reply);
    }
}

KsOnvifResult Session::FindMediaService() {
    if (m_media) return kKsOnvifOk;
    struct Way {
        Operation operation;
        std::string (*parse)(std::string_view);
    };
    // The second one is for cameras that are older than the first.
    const Way ways[] = {{{"GetServices", kDeviceNamespace, GetServicesBody()}, ParseServices},
                        {{"GetCapabilities", kDeviceNamespace, GetCapabilitiesBody()}, ParseCapabilities}};
    KsOnvifResult result = kKsOnvifFail;
    for (const Way& way : ways) {
        std::string reply;
        result = Call(m_device, way.operation, true, reply);
        if (result != kKsOnvifOk) continue;
        const std::string address = way.parse(reply);
        if (address.empty()) {
            result = Refuse(way.operation.name, 200, reply);
            continue;
        }
        const auto url = protocol::parseUrl(address);
        if (IsWebAddress(url)) {
            m_media = Reachable(*url);
            return kKsOnvifOk;
        }
        NORIX_LOG("onvif::Session::FindMediaService", 1, "%s: no media service at \"%s\"", way.operation.name,
                  Quote(address).c_str());
        result = kKsOnvifFail;
    }
    return result;
}

// Behind a router, cameras state addresses that only their own network knows; and a password's digest is for
// the scheme, host and port that the host program named. Where nobody signs in, the camera's other ports do.
Session::Service Session::Reachable(const protocol::Url& stated) const {
    Service service = m_device;
    service.path = stated.path;
    const bool secure = stated.scheme == "https";
    if (m_user.empty() && protocol::equalsIgnoringCase(stated.host, service.host) &&
        (secure || !service.secure)) {
        service.secure = secure;
        service.port = stated.port;
    }
    return service;
}

KsOnvifResult Session::Call(const Service& service, const Operation& operation, bool identify,
                            std::string& reply) {
    if (m_silent) return kKsOnvifTimeout;
    if (m_requests == kOnvifMostRequests || m_surroundings->milliseconds() - m_begun >= kOnvifMilliseconds) {
        NORIX_LOG("onvif::Session::Call", 1, "%s: no time for it after %u requests", operation.name,
                  m_requests);
        return kKsOnvifTimeout;
    }
    ++m_requests;

    std::string security;
    if (identify && !m_user.empty()) {
        const std::string created = FormatUtc(m_surroundings->utcSeconds() + m_clockOffset);
        security = SecurityHeader(m_user, m_password, m_surroundings->nonce(), created);
    }
    HttpRequest request;
    request.secure = service.secure;
    request.host = service.host;
    request.port = service.port;
    request.user = m_user;
    request.password = m_password;
    request.verb = "POST";
    request.path = service.path;
    request.headers = "Content-Type: application/soap+xml; charset=utf-8; action=\"" +
                      std::string(operation.nameSpace) + "/" + operation.name + "\"\r\n";
    request.body = Envelope(security, operation.body);
    request.maxReply = kOnvifLargestReply;
    HttpReply answer = m_transport->Send(request);
    if (!answer.answered) {
        m_silent = true;
        NORIX_LOG("onvif::Session::Call", 1, "%s: no answer from %s:%u", operation.name,
                  Quote(service.host).c_str(), static_cast<unsigned>(service.port));
        return kKsOnvifTimeout;
    }
    if (answer.status != 200) return Refuse(operation.name, answer.status, answer.body);
    reply = std::move(answer.body);
    return kKsOnvifOk;
}

KsOnvifResult Session::Refuse(const char* operation, unsigned status, const std::string& reply) {
    const Fault fault = ParseFault(reply).value_or(Fault{});
    NORIX_LOG("onvif::Session::Refuse", 1, "%s: status %u, %u bytes, fault \"%s\": %s", operation, status,
              static_cast<unsigned>(reply.size()), Quote(fault.code).c_str(), Quote(fault.reason).c_str());
    return status == 401 || status == 403 || fault.IsDenial() ? kKsOnvifDenied : kKsOnvifFail;
}

}  // namespace norix::onvif
