#include "camera/onvif/OnvifSession.h"

#include <utility>

#include "camera/onvif/SoapRequest.h"
#include "protocol/Text.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix::onvif {
namespace {

constexpr char kDevicePath[] = "/onvif/device_service";
constexpr unsigned kOk = 200;

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

const Session::Kind Session::kMedia{kMediaNamespace, "Media"};
const Session::Kind Session::kPtz{kPtzNamespace, "PTZ"};

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
    return uri.empty() ? Refuse(operation.name, kOk, reply) : kKsOnvifOk;
}

KsOnvifResult Session::LearnProfiles() {
    if (!m_profilesResult) m_profilesResult = AskForProfiles();
    return *m_profilesResult;
}

KsOnvifResult Session::AskForProfiles() {
    if (!m_user.empty()) AskForClock();
    if (const KsOnvifResult result = Find(kMedia, m_media); result != kKsOnvifOk) return result;
    const Operation operation{"GetProfiles", kMediaNamespace, GetProfilesBody()};
    std::string reply;
    const KsOnvifResult result = Call(*m_media, operation, true, reply);
    if (result != kKsOnvifOk) return result;
    auto profiles = ParseProfiles(reply);
    if (!profiles) return Refuse(operation.name, kOk, reply);
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
        m_spoke = true;
    } else {
        Refuse(operation.name, kOk, reply);
    }
}

KsOnvifResult Session::Find(const Kind& kind, std::optional<Service>& service) {
    if (service) return kKsOnvifOk;
    KsOnvifResult result = kKsOnvifFail;
    // The second one is for cameras that are older than the first.
    for (const auto ask : {&Session::AskForServices, &Session::AskForCapabilities}) {
        std::string address;
        result = (this->*ask)(kind, address);
        if (result != kKsOnvifOk) continue;
        const auto url = protocol::parseUrl(address);
        if (IsWebAddress(url)) {
            service = Reachable(*url);
            return kKsOnvifOk;
        }
        NORIX_LOG("onvif::Session::Find", 1, "no %s service at \"%s\"", kind.category,
                  Quote(address).c_str());
        result = kKsOnvifFail;
    }
    return result;
}

KsOnvifResult Session::AskForServices(const Kind& kind, std::string& address) {
    if (!m_listed) {
        const Operation operation{"GetServices", kDeviceNamespace, GetServicesBody()};
        std::string reply;
        const KsOnvifResult result = Call(m_device, operation, true, reply);
        if (result != kKsOnvifOk) return result;
        m_listed = ParseServices(reply);
        if (!m_listed) return Refuse(operation.name, kOk, reply);
        m_spoke = true;
    }
    for (const ServiceAddress& service : *m_listed) {
        if (service.nameSpace != kind.nameSpace) continue;
        address = service.address;
        return kKsOnvifOk;
    }
    return kKsOnvifNotFound;
}

KsOnvifResult Session::AskForCapabilities(const Kind& kind, std::string& address) {
    const Operation operation{"GetCapabilities", kDeviceNamespace, GetCapabilitiesBody(kind.category)};
    std::string reply;
    const KsOnvifResult result = Call(m_device, operation, true, reply);
    if (result != kKsOnvifOk) return result;
    address = ParseCapabilities(reply, kind.category);
    return address.empty() ? Refuse(operation.name, kOk, reply) : kKsOnvifOk;
}

KsOnvifResult Session::AskPtz(const char* operation, std::string body, std::string& reply) {
    return Call(*m_ptz, {operation, kPtzNamespace, std::move(body)}, true, reply);
}

void Session::BeginRound(unsigned mostRequests) {
    m_begun = m_surroundings->milliseconds();
    m_requests = 0;
    m_mostRequests = mostRequests;
    m_silent = false;
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
    if (m_requests == m_mostRequests || m_surroundings->milliseconds() - m_begun >= kOnvifMilliseconds) {
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
    if (answer.status != kOk) return Refuse(operation.name, answer.status, answer.body);
    reply = std::move(answer.body);
    return kKsOnvifOk;
}

KsOnvifResult Session::Refuse(const char* operation, unsigned status, const std::string& reply) {
    const std::optional<Fault> stated = ParseFault(reply);
    const Fault fault = stated.value_or(Fault{});
    m_spoke = m_spoke || stated;
    NORIX_LOG("onvif::Session::Refuse", 1, "%s: status %u, %u bytes, fault \"%s\": %s", operation, status,
              static_cast<unsigned>(reply.size()), Quote(fault.code).c_str(), Quote(fault.reason).c_str());
    return status == 401 || status == 403 || fault.IsDenial() ? kKsOnvifDenied : kKsOnvifFail;
}

}  // namespace norix::onvif
