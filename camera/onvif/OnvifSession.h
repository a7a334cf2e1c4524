#pragma once

// The conversation with one camera's ONVIF services.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "camera/HttpTransport.h"
#include "camera/onvif/KsOnvif.h"
#include "camera/onvif/OnvifMedia.h"
#include "camera/onvif/SoapReply.h"
#include "protocol/Url.h"

namespace norix::onvif {

/// Asks what it needs when it is needed, each thing once, within the limits of OnvifMedia.h counted from its
/// creation. Failures are in the log and in the result. One thread; throws nothing but bad_alloc.
class Session {
  public:
    /// Transport and surroundings have to outlive it. Nothing, when `camera` doesn't say whom to ask.
    static std::optional<Session> Begin(HttpTransport& transport, const OnvifSurroundings& surroundings,
                                        const KsOnvifCamera& camera);

    KsOnvifResult LearnProfiles();
    /// After LearnProfiles has succeeded.
    const std::vector<Profile>& Profiles() const { return m_profiles; }
    KsOnvifResult GetStreamUri(std::string_view token, std::uint32_t transport, std::string& uri);

    /// The limits count anew from here, `mostRequests` in place of their number.
    void BeginRound(unsigned mostRequests);
    /// Learns where the PTZ service is.
    KsOnvifResult FindPtzService() { return Find(kPtz, m_ptz); }
    /// One of its operations, with the text of the reply; after FindPtzService has succeeded.
    KsOnvifResult AskPtz(const char* operation, std::string body, std::string& reply);
    /// Whether anything so far was an answer of an ONVIF service, were it a refusal.
    bool Spoke() const { return m_spoke; }

  private:
    struct Kind {
        std::string_view nameSpace;
        const char* category;
    };
    static const Kind kMedia;
    static const Kind kPtz;

    struct Service {
        bool secure = false;
        std::string host;
        std::uint16_t port = 0;
        std::string path;
    };
    struct Operation {
        const char* name;
        std::string_view nameSpace;
        std::string body;
    };

    Session(HttpTransport& transport, const OnvifSurroundings& surroundings)
        : m_transport(&transport), m_surroundings(&surroundings) {}
    bool SetMediaService(const char* address);
    KsOnvifResult AskForProfiles();
    void AskForClock();
    KsOnvifResult Find(const Kind& kind, std::optional<Service>& service);
    /// Where the camera says, by the newer or the older way, that the service is.
    KsOnvifResult AskForServices(const Kind& kind, std::string& address);
    KsOnvifResult AskForCapabilities(const Kind& kind, std::string& address);
    Service Reachable(const protocol::Url& stated) const;
    /// The text of the reply if it isn't a refusal.
    KsOnvifResult Call(const Service& service, const Operation& operation, bool identify, std::string& reply);
    /// Logs a reply that can't be used. Answers kKsOnvifDenied if it is for the credentials.
    KsOnvifResult Refuse(const char* operation, unsigned status, const std::string& reply);

    HttpTransport* m_transport;
    const OnvifSurroundings* m_surroundings;
    Service m_device;
    std::optional<Service> m_media;                       // once known
    std::optional<Service> m_ptz;                         // likewise
    std::optional<std::vector<ServiceAddress>> m_listed;  // by GetServices, once it has answered
    std::string m_user;
    std::string m_password;
    std::int64_t m_begun = 0;        // steady milliseconds
    std::int64_t m_clockOffset = 0;  // seconds that the camera is ahead of us
    bool m_silent = false;           // a request had no answer: there won't be any
    bool m_spoke = false;
    unsigned m_requests = 0;
    unsigned m_mostRequests = kOnvifMostRequests;
    std::optional<KsOnvifResult> m_profilesResult;  // once asked
    std::vector<Profile> m_profiles;
};

}  // namespace norix::onvif
