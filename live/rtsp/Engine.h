#pragma once

// What an RTSP client does: keeps the connection and the requests that wait for replies, answers challenges,
// follows redirects, and configures sessions by what the server replies.

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "live/env/LifeFlag.h"
#include "live/rtsp/Connection.h"
#include "live/rtsp/Headers.h"
#include "live/rtsp/Request.h"
#include "live/rtsp/Url.h"
#include "protocol/Challenge.h"
#include "protocol/HostRoute.h"
#include "protocol/Origin.h"

namespace live::rtsp {

/// Values of PLAY's Range header; "" for none.
std::string nptRange(double start, double end);
std::string clockRange(const char* start, const char* end);

}  // namespace live::rtsp

class RTSPClient::Engine final : private live::rtsp::ConnectionUser {
  public:
    Engine(RTSPClient& client, std::string_view url, std::string_view applicationName, portNumBits tunnelPort,
           int connectedSocket);
    ~Engine();

    unsigned options(responseHandler* handler, const Authenticator* who);
    unsigned describe(responseHandler* handler, const Authenticator* who);
    unsigned setup(MediaSubsession& subsession, responseHandler* handler, bool overTcp, bool forceMulticast,
                   const Authenticator* who);
    unsigned play(MediaSession& session, responseHandler* handler, const std::string& range, float scale,
                  const Authenticator* who);
    unsigned getParameter(MediaSession& session, responseHandler* handler, std::string_view name,
                          const Authenticator* who);
    unsigned teardown(MediaSession& session, responseHandler* handler, const Authenticator* who);

    void setRoute(protocol::HostRoute route) { m_route = std::move(route); }
    unsigned sessionTimeout() const { return m_sessionTimeout; }
    int socketNum() const { return m_connection.socketNum(); }
    const std::string& baseUrl() const { return m_baseUrl; }

  private:
    using Request = live::rtsp::Request;
    using Message = live::rtsp::Message;

    UsageEnvironment& env() const { return m_client.envir(); }
    bool setUrl(std::string_view url);
    std::string sessionUrl(MediaSession& session) const;

    unsigned submit(Request request, const Authenticator* who);
    bool transmit(Request& request);
    bool connect();
    std::string compose(const Request& request);
    std::string authorization(std::string_view method, const std::string& uri);

    void onMessage(const Message& message) override;
    void onConnectionLost(int error, unsigned status, const std::string& why) override;
    void closeQuietly();
    std::string tunnelAuthorization(std::string_view method) override;
    bool onTunnelChallenge(const Message& reply) override;
    void onReply(const Message& reply);
    void onServerRequest(const Message& request);

    protocol::Origin server() const;
    bool acceptChallenge(const Message& reply);
    bool followRedirect(const Message& reply);
    bool retry(Request request);
    // Each true, with the handler's text, or false with the reason.
    bool applyReply(const Request& request, const Message& reply, std::string& result);
    bool applyDescribe(const Message& reply, std::string& result);
    bool applySetup(const Request& request, const Message& reply, std::string& why);
    ipv4AddressBits statedSender(const std::string& source) const;
    bool applyTransport(const Request& request, const live::rtsp::Transport& transport, std::string& why);
    void applyPlay(const Request& request, const Message& reply);

    void answer(const Request& request, int code, const std::string& text);
    void failLater(Request request, int code, std::string why);
    void reportFailures();

    struct Failure {
        Request request;
        int code;
        std::string why;
    };

    RTSPClient& m_client;
    live::LifeFlag m_life;
    const std::string m_applicationName;
    const portNumBits m_tunnelPort;
    protocol::HostRoute m_route;
    std::optional<protocol::Url> m_url;  // nothing when it is none
    std::string m_baseUrl;
    protocol::Origin m_home;   // of the address that the caller gave: his credentials are for it alone
    bool m_elsewhere = false;  // a redirection led away from there
    std::optional<Authenticator> m_who;
    std::optional<protocol::Challenge> m_challenge;
    std::optional<protocol::Challenge::Kind> m_told;  // what the server is known to have accepted
    unsigned m_nonceCount = 0;
    unsigned m_sequence = 0;
    unsigned m_redirects = 0;
    bool m_welcome = false;  // the server has accepted our credentials
    std::string m_sessionId;
    unsigned m_sessionTimeout = 0;
    unsigned m_nextChannel = 0;
    std::deque<Request> m_requests;  // sent, in order
    std::deque<Failure> m_failures;  // never sent; told from the event loop
    TaskToken m_failureTask = nullptr;
    live::rtsp::Connection m_connection;
};
