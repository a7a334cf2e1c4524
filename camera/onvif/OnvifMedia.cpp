#include "camera/onvif/OnvifMedia.h"

#include <chrono>
#include <cstring>
#include <new>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "camera/onvif/SoapReply.h"
#include "camera/onvif/SoapRequest.h"
#include "protocol/Text.h"
#include "protocol/Url.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix {
namespace {

constexpr char kDevicePath[] = "/onvif/device_service";

// No exception leaves the interface.
template <class Body>
KsOnvifResult Guarded(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        return kKsOnvifNoMemory;
    } catch (...) {
        return kKsOnvifFail;
    }
}

KsOnvifResult Copy(const std::string& text, char* target, std::uint32_t room) {
    if (text.size() >= room) return kKsOnvifTooSmall;
    std::memcpy(target, text.c_str(), text.size() + 1);
    return kKsOnvifOk;
}

// What a camera wrote, or nearly all of it: for the log.
std::string Quote(const std::string& text) {
    constexpr std::size_t kMost = 200;
    return util::RedactSecrets(text.substr(0, kMost));
}

struct Service {
    bool secure = false;
    std::string host;
    std::uint16_t port = 0;
    std::string path;
};

std::optional<Service> ServiceFrom(const protocol::Url& url) {
    if (url.scheme == "rtsp") return std::nullopt;
    return Service{url.scheme == "https", url.host, url.port, url.path};
}

struct Operation {
    const char* name;
    std::string_view nameSpace;
    std::string body;
};

class OnvifMedia final : public IKsOnvifMedia {
  public:
    OnvifMedia(HttpTransport& transport, OnvifSurroundings surroundings)
        : m_transport(transport), m_surroundings(std::move(surroundings)) {}

    void KSONVIF_CALL Release() noexcept override { delete this; }
    std::uint32_t KSONVIF_CALL InterfaceVersion() noexcept override { return kKsOnvifInterfaceVersion; }
    KsOnvifResult KSONVIF_CALL Open(const KsOnvifCamera* camera) noexcept override;
    KsOnvifResult KSONVIF_CALL GetProfileByIndex(std::uint32_t streamIndex, char* token,
                                                 std::uint32_t room) noexcept override;
    KsOnvifResult KSONVIF_CALL GetProfileByToken(const char* token) noexcept override;
    KsOnvifResult KSONVIF_CALL GetStreamUri(const char* token, std::uint32_t transport, char* uri,
                                            std::uint32_t room) noexcept override;
    KsOnvifResult KSONVIF_CALL GetFrameRateLimit(const char* token, std::uint32_t* limit) noexcept override;

  private:
    // What is known of one camera, from one Open to the next.
    struct Session {
        Service device;
        std::optional<Service> media;
        std::string user;
        std::string password;
        std::int64_t opened = 0;       // steady milliseconds
        std::int64_t clockOffset = 0;  // seconds that the camera is ahead of us
        bool clockAsked = false;
        bool silent = false;  // a request had no answer: there won't be any
        unsigned requests = 0;
        std::optional<KsOnvifResult> profilesResult;
        std::vector<onvif::Profile> profiles;
    };

    KsOnvifResult LearnProfiles();
    KsOnvifResult AskForProfiles();
    KsOnvifResult FindProfile(const char* token, const onvif::Profile*& profile);
    void AskForClock();
    KsOnvifResult FindMediaService();
    Service Reachable(const protocol::Url& stated) const;
    // The text of the reply if it isn't a refusal.
    KsOnvifResult Call(const Service& service, const Operation& operation, bool identify, std::string& reply);
    // Logs a reply that can't be used. Answers kKsOnvifDenied if it is for the credentials.
    static KsOnvifResult Refuse(const char* operation, unsigned status, const std::string& reply);

    HttpTransport& m_transport;
    const OnvifSurroundings m_surroundings;
    std::optional<Session> m_session;  // once opened
};

KsOnvifResult OnvifMedia::Open(const KsOnvifCamera* camera) noexcept {
    return Guarded([&]() -> KsOnvifResult {
        if (camera == nullptr || camera->host == nullptr || camera->user == nullptr ||
            camera->password == nullptr || camera->mediaService == nullptr) {
            return kKsOnvifNoObject;
        }
        m_session.reset();
        Session session;
        session.user = camera->user;
        session.password = camera->password;
        if (*camera->mediaService != '\0') {
            const auto url = protocol::parseUrl(camera->mediaService);
            session.media = url ? ServiceFrom(*url) : std::nullopt;
            if (!session.media) {
                NORIX_LOG("OnvifMedia::Open", 1, "not a service address: %s",
                          Quote(camera->mediaService).c_str());
                return kKsOnvifBadArgument;
            }
            session.device = *session.media;
            if (session.user.empty()) {
                session.user = url->user;
                session.password = url->password;
            }
        } else {
            if (*camera->host == '\0' || camera->port == 0 || camera->port > 0xFFFF) {
                return kKsOnvifBadArgument;
            }
            session.device.secure = camera->secure != 0;
            session.device.host = camera->host;
            session.device.port = static_cast<std::uint16_t>(camera->port);
        }
        session.device.path = kDevicePath;
        session.opened = m_surroundings.milliseconds();
        m_session = std::move(session);
        return kKsOnvifOk;
    });
}

KsOnvifResult OnvifMedia::GetProfileByIndex(std::uint32_t streamIndex, char* token,
                                            std::uint32_t room) noexcept {
    return Guarded([&]() -> KsOnvifResult {
        if (token == nullptr) return kKsOnvifNoObject;
        if (streamIndex == 0) return kKsOnvifBadArgument;
        if (const KsOnvifResult result = LearnProfiles(); result != kKsOnvifOk) return result;
        const auto& profiles = m_session->profiles;
        if (streamIndex > profiles.size() || profiles[streamIndex - 1].token.empty()) {
            NORIX_LOG("OnvifMedia::GetProfileByIndex", 1, "no profile %u of %u", streamIndex,
                      static_cast<unsigned>(profiles.size()));
            return kKsOnvifNotFound;
        }
        return Copy(profiles[streamIndex - 1].token, token, room);
    });
}

KsOnvifResult OnvifMedia::GetProfileByToken(const char* token) noexcept {
    return Guarded([&] {
        const onvif::Profile* profile = nullptr;
        return FindProfile(token, profile);
    });
}

KsOnvifResult OnvifMedia::GetStreamUri(const char* token, std::uint32_t transport, char* uri,
                                       std::uint32_t room) noexcept {
    return Guarded([&]() -> KsOnvifResult {
        if (token == nullptr || uri == nullptr) return kKsOnvifNoObject;
        const Operation operation{"GetStreamUri", onvif::kMediaNamespace,
                                  onvif::GetStreamUriBody(token, transport)};
        if (operation.body.empty()) return kKsOnvifBadArgument;
        const onvif::Profile* profile = nullptr;
        KsOnvifResult result = FindProfile(token, profile);
        if (result != kKsOnvifOk) return result;
        std::string reply;
        result = Call(*m_session->media, operation, true, reply);
        if (result != kKsOnvifOk) return result;
        const std::string address = onvif::ParseStreamUri(reply);
        if (address.empty()) return Refuse(operation.name, 200, reply);
        return Copy(address, uri, room);
    });
}

KsOnvifResult OnvifMedia::GetFrameRateLimit(const char* token, std::uint32_t* limit) noexcept {
    return Guarded([&]() -> KsOnvifResult {
        if (limit == nullptr) return kKsOnvifNoObject;
        const onvif::Profile* profile = nullptr;
        const KsOnvifResult result = FindProfile(token, profile);
        if (result == kKsOnvifOk) *limit = profile->frameRateLimit;
        return result;
    });
}

KsOnvifResult OnvifMedia::FindProfile(const char* token, const onvif::Profile*& profile) {
    if (token == nullptr) return kKsOnvifNoObject;
    if (*token == '\0') return kKsOnvifBadArgument;
    if (const KsOnvifResult result = LearnProfiles(); result != kKsOnvifOk) return result;
    for (const onvif::Profile& candidate : m_session->profiles) {
        if (candidate.token == token) {
            profile = &candidate;
            return kKsOnvifOk;
        }
    }
    NORIX_LOG("OnvifMedia::FindProfile", 1, "no profile \"%s\" of %u", Quote(token).c_str(),
              static_cast<unsigned>(m_session->profiles.size()));
    return kKsOnvifNotFound;
}

KsOnvifResult OnvifMedia::LearnProfiles() {
    if (!m_session) return kKsOnvifFail;
    if (!m_session->profilesResult) m_session->profilesResult = AskForProfiles();
    return *m_session->profilesResult;
}

KsOnvifResult OnvifMedia::AskForProfiles() {
    if (!m_session->user.empty()) AskForClock();
    if (const KsOnvifResult result = FindMediaService(); result != kKsOnvifOk) return result;
    const Operation operation{"GetProfiles", onvif::kMediaNamespace, onvif::GetProfilesBody()};
    std::string reply;
    const KsOnvifResult result = Call(*m_session->media, operation, true, reply);
    if (result != kKsOnvifOk) return result;
    auto profiles = onvif::ParseProfiles(reply);
    if (!profiles) return Refuse(operation.name, 200, reply);
    m_session->profiles = std::move(*profiles);
    return kKsOnvifOk;
}

// Cameras take a digest only if its time is near their own, which may be years off. Without an answer, ours
// has to do.
void OnvifMedia::AskForClock() {
    const Operation operation{"GetSystemDateAndTime", onvif::kDeviceNamespace,
                              onvif::GetSystemDateAndTimeBody()};
    std::string reply;
    if (Call(m_session->device, operation, false, reply) != kKsOnvifOk) return;
    if (const auto time = onvif::ParseSystemDateAndTime(reply)) {
        m_session->clockOffset = *time - m_surroundings.utcSeconds();
    } else {
        Refuse(operation.name, 200, reply);
    }
}

KsOnvifResult OnvifMedia::FindMediaService() {
    if (m_session->media) return kKsOnvifOk;
    struct Way {
        Operation operation;
        std::string (*parse)(std::string_view);
    };
    // The second one is for cameras that are older than the first.
    const Way ways[] = {
        {{"GetServices", onvif::kDeviceNamespace, onvif::GetServicesBody()}, onvif::ParseServices},
        {{"GetCapabilities", onvif::kDeviceNamespace, onvif::GetCapabilitiesBody()},
         onvif::ParseCapabilities}};
    KsOnvifResult result = kKsOnvifFail;
    for (const Way& way : ways) {
        std::string reply;
        result = Call(m_session->device, way.operation, true, reply);
        if (result != kKsOnvifOk) continue;
        const std::string address = way.parse(reply);
        const auto url = protocol::parseUrl(address);
        if (url && url->scheme != "rtsp") {
            m_session->media = Reachable(*url);
            return kKsOnvifOk;
        }
        NORIX_LOG("OnvifMedia::FindMediaService", 1, "%s: no media service at \"%s\"", way.operation.name,
                  Quote(address).c_str());
        result = kKsOnvifFail;
    }
    return result;
}

// Behind a router, cameras state addresses that only their own network knows. And nobody but whom the host
// named is to see a digest of its password, nor are they who listen on the way, once it was to be HTTPS.
Service OnvifMedia::Reachable(const protocol::Url& stated) const {
    Service service = m_session->device;
    service.path = stated.path;
    const bool secure = stated.scheme == "https";
    if (protocol::equalsIgnoringCase(stated.host, service.host) && (secure || !service.secure)) {
        service.secure = secure;
        service.port = stated.port;
    }
    return service;
}

KsOnvifResult OnvifMedia::Call(const Service& service, const Operation& operation, bool identify,
                               std::string& reply) {
    Session& session = *m_session;
    if (session.silent) return kKsOnvifTimeout;
    if (session.requests == kOnvifMostRequests ||
        m_surroundings.milliseconds() - session.opened >= kOnvifMilliseconds) {
        NORIX_LOG("OnvifMedia::Call", 1, "%s: no time for it after %u requests", operation.name,
                  session.requests);
        return kKsOnvifTimeout;
    }
    ++session.requests;

    std::string security;
    if (identify && !session.user.empty()) {
        const std::string created = onvif::FormatUtc(m_surroundings.utcSeconds() + session.clockOffset);
        security = onvif::SecurityHeader(session.user, session.password, m_surroundings.nonce(), created);
    }
    HttpRequest request;
    request.secure = service.secure;
    request.host = service.host;
    request.port = service.port;
    request.user = session.user;
    request.password = session.password;
    request.verb = "POST";
    request.path = service.path;
    request.headers = "Content-Type: application/soap+xml; charset=utf-8; action=\"" +
                      std::string(operation.nameSpace) + "/" + operation.name + "\"\r\n";
    request.body = onvif::Envelope(security, operation.body);
    request.maxReply = kOnvifLargestReply;
    HttpReply answer = m_transport.Send(request);
    if (!answer.answered) {
        session.silent = true;
        NORIX_LOG("OnvifMedia::Call", 1, "%s: no answer from %s:%u", operation.name,
                  Quote(service.host).c_str(), static_cast<unsigned>(service.port));
        return kKsOnvifTimeout;
    }
    if (answer.status != 200) return Refuse(operation.name, answer.status, answer.body);
    reply = std::move(answer.body);
    return kKsOnvifOk;
}

KsOnvifResult OnvifMedia::Refuse(const char* operation, unsigned status, const std::string& reply) {
    const onvif::Fault fault = onvif::ParseFault(reply).value_or(onvif::Fault{});
    NORIX_LOG("OnvifMedia::Refuse", 1, "%s: status %u, %u bytes, fault \"%s\": %s", operation, status,
              static_cast<unsigned>(reply.size()), Quote(fault.code).c_str(), Quote(fault.reason).c_str());
    return status == 401 || status == 403 || fault.IsDenial() ? kKsOnvifDenied : kKsOnvifFail;
}

}  // namespace

OnvifSurroundings SystemOnvifSurroundings() {
    using namespace std::chrono;
    return {
        [] {
            return std::int64_t{duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count()};
        },
        [] { return std::int64_t{duration_cast<seconds>(system_clock::now().time_since_epoch()).count()}; },
        [] {
            constexpr int kBytes = 16;
            std::random_device random;
            std::string nonce;
            while (nonce.size() < kBytes)
                nonce += static_cast<char>(random());
            return nonce;
        }};
}

OnvifMediaPtr CreateOnvifMedia(HttpTransport& transport, OnvifSurroundings surroundings) {
    return OnvifMediaPtr(new OnvifMedia(transport, std::move(surroundings)));
}

}  // namespace norix
