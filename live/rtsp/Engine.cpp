#include "live/rtsp/Engine.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <tuple>
#include <utility>

#include "live/env/Random.h"
#include "live/net/GroupsockHelper.h"
#include "live/sdp/MediaSession.h"
#include "net/KnownServers.h"
#include "net/Lookup.h"
#include "net/Redirection.h"
#include "net/Sockets.h"
#include "protocol/Text.h"

namespace rtsp = live::rtsp;

namespace {

constexpr unsigned kMaxChannel = 254;  // the last pair of interleaved channels begins here
constexpr unsigned kUnauthorized = 401;
// Requests that a dead server leaves unanswered, keep-alives above all, don't pile up for ever.
constexpr std::size_t kMaxWaiting = 64;

bool isSuccess(unsigned status) {
    return status >= 200 && status < 300;
}

// RFC 7616, 3.3: the user is right, only the nonce has run out.
bool saysStale(const rtsp::Message& reply) {
    for (const auto& [name, value] : reply.headers) {
        if (!protocol::equalsIgnoringCase(name, "WWW-Authenticate")) continue;
        const std::string text = protocol::toLower(value);
        if (text.find("stale=true") != text.npos || text.find("stale=\"true\"") != text.npos) return true;
    }
    return false;
}

// What a description says goes into request lines: nothing in it may end a line.
std::string withoutControls(std::string url) {
    std::erase_if(url, [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == 0x7F; });
    return url;
}

}  // namespace

const char* rtsp::methodName(Method method) {
    switch (method) {
        case Method::Options:
            return "OPTIONS";
        case Method::Describe:
            return "DESCRIBE";
        case Method::Setup:
            return "SETUP";
        case Method::Play:
            return "PLAY";
        case Method::GetParameter:
            return "GET_PARAMETER";
        case Method::Teardown:
            return "TEARDOWN";
    }
    return "";
}

std::string rtsp::nptRange(double start, double end) {
    if (start < 0) return {};
    return "npt=" + protocol::formatSeconds(start) + "-" + (end < 0 ? "" : protocol::formatSeconds(end));
}

std::string rtsp::clockRange(const char* start, const char* end) {
    if (!start || !*start) return {};
    return "clock=" + withoutControls(start) + "-" + withoutControls(end ? end : "");
}

RTSPClient::Engine::Engine(RTSPClient& client, std::string_view url, std::string_view applicationName,
                           portNumBits tunnelPort, int connectedSocket)
    : m_client(client),
      m_applicationName(applicationName),
      m_tunnelPort(tunnelPort),
      m_connection(client.envir(), *this, std::max(responseBufferSize, 1024u)) {
    setUrl(url);
    if (m_url) m_home = protocol::originOf(*m_url);
    if (m_url && m_url->hasCredentials) m_who.emplace(m_url->user.c_str(), m_url->password.c_str());
    if (connectedSocket >= 0) m_connection.adopt(connectedSocket);
}

RTSPClient::Engine::~Engine() {
    env().taskScheduler().unscheduleDelayedTask(m_failureTask);
}

bool RTSPClient::Engine::setUrl(std::string_view url) {
    m_url = rtsp::parseUrl(url);
    m_baseUrl = m_url ? m_url->plain : std::string(url);
    return m_url.has_value();
}

std::string RTSPClient::Engine::sessionUrl(MediaSession& session) const {
    return rtsp::controlUrl(m_baseUrl, session.controlPath());
}

unsigned RTSPClient::Engine::options(responseHandler* handler, const Authenticator* who) {
    Request request(rtsp::Method::Options, m_baseUrl, handler);
    request.followsBase = true;
    return submit(std::move(request), who);
}

unsigned RTSPClient::Engine::describe(responseHandler* handler, const Authenticator* who) {
    Request request(rtsp::Method::Describe, m_baseUrl, handler);
    request.headers = "Accept: application/sdp\r\n";
    request.followsBase = true;
    return submit(std::move(request), who);
}

unsigned RTSPClient::Engine::setup(MediaSubsession& subsession, responseHandler* handler, bool overTcp,
                                   bool forceMulticast, const Authenticator* who) {
    Request request(rtsp::Method::Setup,
                    rtsp::controlUrl(sessionUrl(subsession.parentSession()), subsession.controlPath()),
                    handler);
    request.subsession = &subsession;
    std::string transport = "RTP/AVP";
    const unsigned port = subsession.clientPortNum();
    const std::string ports = std::to_string(port) + "-" + std::to_string(port + 1);
    if (overTcp || m_tunnelPort != 0) {
        request.interleaved = true;
        request.channel = m_nextChannel;
        if (request.channel > kMaxChannel) {
            failLater(std::move(request), -EINVAL, "No interleaved channel is left");
            return m_sequence;
        }
        m_nextChannel += 2;
        transport += "/TCP;unicast;interleaved=" + std::to_string(request.channel) + "-" +
                     std::to_string(request.channel + 1);
    } else {
        const ipv4AddressBits address = subsession.connectionEndpointAddress();
        const bool multicast = IsMulticastAddress(address) || (address == 0 && forceMulticast);
        if (!multicast && m_connection.address().get()->sa_family == AF_INET6) {
            failLater(std::move(request), -EAFNOSUPPORT,
                      "Over IPv6, streams are received over the RTSP connection only");
            return m_sequence;
        }
        transport += multicast ? ";multicast;port=" + ports : ";unicast;client_port=" + ports;
    }
    request.headers = "Transport: " + transport + "\r\n";
    return submit(std::move(request), who);
}

unsigned RTSPClient::Engine::play(MediaSession& session, responseHandler* handler, const std::string& range,
                                  float scale, const Authenticator* who) {
    Request request(rtsp::Method::Play, sessionUrl(session), handler);
    request.session = &session;
    if (m_sessionId.empty()) {
        failLater(std::move(request), -ENOTCONN, "No RTSP session is currently in progress");
        return m_sequence;
    }
    if (!range.empty()) request.headers = "Range: " + range + "\r\n";
    if (scale != 1.0f) {
        const std::string magnitude = protocol::formatSeconds(scale < 0 ? -scale : scale);
        request.headers += "Scale: " + (scale < 0 ? "-" + magnitude : magnitude) + "\r\n";
    }
    return submit(std::move(request), who);
}

unsigned RTSPClient::Engine::getParameter(MediaSession& session, responseHandler* handler,
                                          std::string_view name, const Authenticator* who) {
    Request request(rtsp::Method::GetParameter, sessionUrl(session), handler);
    if (!name.empty()) {
        request.headers = "Content-Type: text/parameters\r\n";
        request.body = withoutControls(std::string(name)) + "\r\n";
    }
    return submit(std::move(request), who);
}

unsigned RTSPClient::Engine::teardown(MediaSession& session, responseHandler* handler,
                                      const Authenticator* who) {
    Request request(rtsp::Method::Teardown, sessionUrl(session), handler);
    if (m_sessionId.empty()) {
        failLater(std::move(request), -ENOTCONN, "No RTSP session is currently in progress");
        return m_sequence;
    }
    return submit(std::move(request), who);
}

unsigned RTSPClient::Engine::submit(Request request, const Authenticator* who) {
    // An empty user is nobody: then an address's own credentials stand. And whom a redirection led to was not
    // meant by who signs in, with whichever request.
    if (who && *who->username() && !m_elsewhere && (!m_who || !(*m_who == *who))) {
        m_who = *who;
        m_welcome = false;
        m_challenge.reset();
    }
    // What nobody waits for makes room: keep-alives that a server never answers must not stop the others.
    if (m_requests.size() >= kMaxWaiting) {
        const auto idle = std::find_if(m_requests.begin(), m_requests.end(),
                                       [](const Request& waiting) { return !waiting.handler; });
        if (idle != m_requests.end()) m_requests.erase(idle);
    }
    if (m_requests.size() >= kMaxWaiting) {
        failLater(std::move(request), -EBUSY, "Too many requests wait for the server's reply");
    } else if (!transmit(request)) {
        failLater(std::move(request), -ECONNREFUSED, env().getResultMsg());
    } else {
        m_requests.push_back(std::move(request));
    }
    return m_sequence;
}

// False, with the reason in the environment, when it can't be sent.
bool RTSPClient::Engine::transmit(Request& request) {
    request.sequence = ++m_sequence;
    request.signedIn = m_who && m_challenge;
    if (!m_connection.isOpen() && !connect()) return false;
    if (m_connection.send(compose(request))) return true;
    // A connection that broke shows it by reading: what was sent on it is answered from there.
    if (m_connection.isOpen()) return true;
    env().setResultMsg("Failed to send the request");
    return false;
}

bool RTSPClient::Engine::connect() {
    if (!m_url) {
        env().setResultMsg("Bad RTSP URL: ", m_baseUrl.c_str());
        return false;
    }
    const auto connectTo = m_route ? m_route(m_url->host) : m_url->host;
    if (!connectTo) {
        env().setResultMsg("This host must not be reached");
        return false;
    }
    rtsp::Endpoint endpoint;
    endpoint.host = *connectTo;
    endpoint.tunnel = m_tunnelPort != 0;
    endpoint.port = endpoint.tunnel ? m_tunnelPort : m_url->port;
    endpoint.tunnelPath = m_url->path;
    endpoint.userAgent = m_applicationName;
    return m_connection.open(endpoint);
}

std::string RTSPClient::Engine::compose(const Request& request) {
    const std::string uri = withoutControls(request.url);
    const std::string method = rtsp::methodName(request.method);
    std::string out = method + " " + uri + " RTSP/1.0\r\nCSeq: " + std::to_string(request.sequence) + "\r\n";
    out += authorization(method, uri);
    if (!m_applicationName.empty()) out += "User-Agent: " + m_applicationName + "\r\n";
    out += request.headers;
    if (!m_sessionId.empty() && request.method != rtsp::Method::Describe)
        out += "Session: " + m_sessionId + "\r\n";
    if (!request.body.empty()) out += "Content-Length: " + std::to_string(request.body.size()) + "\r\n";
    return out + "\r\n" + request.body;
}

std::string RTSPClient::Engine::authorization(std::string_view method, const std::string& uri) {
    if (!m_who || !m_challenge) return {};
    protocol::DigestUse use;
    use.method = method;
    use.uri = uri;
    use.count = ++m_nonceCount;
    use.clientNonce = std::to_string(live::random32()) + std::to_string(live::random32());
    const protocol::Credentials who{m_who->username(), m_who->password(), m_who->passwordIsMD5()};
    return "Authorization: " + protocol::authorize(*m_challenge, who, use) + "\r\n";
}

std::string RTSPClient::Engine::tunnelAuthorization(std::string_view method) {
    return m_url ? authorization(method, m_url->path) : std::string();
}

bool RTSPClient::Engine::onTunnelChallenge(const Message& reply) {
    return acceptChallenge(reply);
}

bool RTSPClient::Engine::acceptChallenge(const Message& reply) {
    if (!m_who) return false;
    std::vector<std::string> fields;
    for (const auto& [name, value] : reply.headers) {
        if (protocol::equalsIgnoringCase(name, "WWW-Authenticate")) fields.emplace_back(value);
    }
    auto challenge = net::KnownServers::get().choose(server(), fields);
    if (!challenge) return false;
    m_challenge = std::move(challenge);
    m_nonceCount = 0;
    return true;
}

// Who is spoken to: with a tunnel the web server.
protocol::Origin RTSPClient::Engine::server() const {
    if (!m_url) return {};
    if (m_tunnelPort != 0) return protocol::makeOrigin("http", m_url->host, m_tunnelPort);
    return protocol::originOf(*m_url);
}

bool RTSPClient::Engine::followRedirect(const Message& reply) {
    // A session that plays belongs to this server: leaving would abandon it there.
    if (!m_url || !m_sessionId.empty() || m_redirects == net::kMaxRedirections) return false;
    const std::string location(protocol::trim(reply.header("Location")));
    const auto to = net::redirectionOf(reply.status, location, protocol::originOf(*m_url), m_url->path);
    if (!to) return false;
    if (m_route && !m_route(to->origin.host)) return false;  // must not be reached
    ++m_redirects;
    setUrl(location.starts_with('/') ? protocol::toText(to->origin) + to->path : location);
    m_challenge.reset();
    m_told.reset();
    m_welcome = false;
    m_elsewhere = to->origin != m_home;
    if (m_url && m_url->hasCredentials) {
        m_who.emplace(m_url->user.c_str(), m_url->password.c_str());
    } else if (to->elsewhere) {
        m_who.reset();
    }
    m_connection.close();
    return true;
}

void RTSPClient::Engine::onMessage(const Message& message) {
    if (message.isReply) {
        onReply(message);
    } else {
        onServerRequest(message);
    }
}

void RTSPClient::Engine::onServerRequest(const Message& request) {
    const std::string_view sequence = request.header("CSeq").substr(0, 20);
    const bool harmless =
        request.method == "OPTIONS" || request.method == "GET_PARAMETER" || request.method == "SET_PARAMETER";
    m_connection.send("RTSP/1.0 " + std::string(harmless ? "200 OK" : "405 Method Not Allowed") +
                      "\r\nCSeq: " + std::string(sequence) + "\r\n\r\n");
}

void RTSPClient::Engine::onReply(const Message& reply) {
    if (reply.status < 200) return;
    const auto sequence = protocol::parseNumber(protocol::trim(reply.header("CSeq")));
    auto found = m_requests.begin();
    // A server that leaves the number out answers in order.
    if (sequence) {
        found = std::find_if(m_requests.begin(), m_requests.end(),
                             [&](const Request& request) { return request.sequence == *sequence; });
    }
    if (found == m_requests.end()) return;
    Request request = std::move(*found);
    m_requests.erase(found);

    if (isSuccess(reply.status) && m_challenge && m_who) {
        const auto kind = std::exchange(m_told, m_challenge->kind);
        if (kind != m_challenge->kind) net::KnownServers::get().accepted(server(), m_challenge->kind);
    }
    if (isSuccess(reply.status) && request.signedIn) m_welcome = true;
    if (reply.status == kUnauthorized && request.challenges == 0) {
        // Credentials that have never been good would be refused again, and each time counts where accounts
        // are locked; what ran out in mid-session, or is said to, is worth another try.
        const bool again = !request.signedIn || m_welcome || saysStale(reply);
        if (again && acceptChallenge(reply)) {
            ++request.challenges;
            if (protocol::equalsIgnoringCase(protocol::trim(reply.header("Connection")), "close"))
                closeQuietly();
            retry(std::move(request));
            return;
        }
    }
    if (request.followsBase && followRedirect(reply)) {
        // Others that wait were meant for the old connection.
        std::deque<Request> waiting = std::exchange(m_requests, {});
        waiting.push_front(std::move(request));
        for (Request& moved : waiting) {
            if (moved.followsBase) moved.url = m_baseUrl;
            moved.challenges = 0;
            retry(std::move(moved));
        }
        return;
    }
    std::string result;
    if (!isSuccess(reply.status)) {
        result = std::to_string(reply.status) + " " + std::string(reply.reason);
        env().setResultMsg(result.c_str());
        answer(request, static_cast<int>(reply.status), result);
    } else if (applyReply(request, reply, result)) {
        m_redirects = 0;
        answer(request, 0, result);
    } else {
        env().setResultMsg(result.c_str());
        answer(request, -EBADMSG, result);
    }
}

bool RTSPClient::Engine::retry(Request request) {
    if (transmit(request)) {
        m_requests.push_back(std::move(request));
        return true;
    }
    failLater(std::move(request), -ECONNREFUSED, env().getResultMsg());
    return false;
}

bool RTSPClient::Engine::applyReply(const Request& request, const Message& reply, std::string& result) {
    switch (request.method) {
        case rtsp::Method::Options:
            result = reply.header("Public");
            return true;
        case rtsp::Method::Describe:
            return applyDescribe(reply, result);
        case rtsp::Method::Setup:
            return applySetup(request, reply, result);
        case rtsp::Method::Play:
            applyPlay(request, reply);
            return true;
        case rtsp::Method::GetParameter:
            result = reply.body;
            return true;
        case rtsp::Method::Teardown:
            m_sessionId.clear();
            return true;
    }
    return true;
}

bool RTSPClient::Engine::applyDescribe(const Message& reply, std::string& result) {
    if (reply.body.empty()) {
        result = "The reply to DESCRIBE has no description";
        return false;
    }
    std::string_view base = protocol::trim(reply.header("Content-Base"));
    if (base.empty()) base = protocol::trim(reply.header("Content-Location"));
    if (protocol::startsWithIgnoringCase(base, "rtsp://") && rtsp::parseUrl(base))
        m_baseUrl = rtsp::parseUrl(base)->plain;
    // Handlers take it for a C string.
    result = reply.body.substr(0, reply.body.find('\0'));
    return true;
}

bool RTSPClient::Engine::applySetup(const Request& request, const Message& reply, std::string& why) {
    auto session = rtsp::parseSession(reply.header("Session"));
    // Some servers name it with the first stream only.
    if (!session && !m_sessionId.empty() && protocol::trim(reply.header("Session")).empty())
        session = rtsp::SessionHeader{m_sessionId, 0};
    if (!session) {
        why = "Missing or bad \"Session:\" header in the reply to SETUP";
        return false;
    }
    const auto transport = rtsp::parseTransport(reply.header("Transport"));
    if (!transport) {
        why = "Missing or bad \"Transport:\" header in the reply to SETUP";
        return false;
    }
    if (!applyTransport(request, *transport, why)) return false;
    m_sessionId = session->id;
    if (session->timeout != 0) m_sessionTimeout = session->timeout;
    request.subsession->setSessionId(session->id);
    return true;
}

// Where a server says that it sends from gets a few packets from us: nobody who must not be reached.
ipv4AddressBits RTSPClient::Engine::statedSender(const std::string& source) const {
    const ipv4AddressBits address = net::numericAddress(source);
    if (address == 0 || IsMulticastAddress(address)) return 0;
    return m_route && address != m_connection.address().ipv4() && !m_route(source) ? 0 : address;
}

bool RTSPClient::Engine::applyTransport(const Request& request, const rtsp::Transport& transport,
                                        std::string& why) {
    MediaSubsession& subsession = *request.subsession;
    if (transport.tcp) {
        const unsigned rtp = transport.interleaved ? transport.interleaved->first : request.channel;
        const unsigned rtcp = transport.interleaved ? transport.interleaved->second : request.channel + 1;
        if (!subsession.receiveInterleaved(m_connection, rtp, rtcp)) {
            why = "The server gave an interleaved channel to two streams";
            return false;
        }
        m_nextChannel = std::max(m_nextChannel, std::max(rtp, rtcp) + 1);
        return true;
    }
    if (request.interleaved) {
        why = "The server does not stream over the RTSP connection";
        return false;
    }
    MediaSubsession::Peer peer;
    peer.stated = statedSender(transport.source);
    peer.server = m_connection.address().ipv4();
    if (transport.serverPort) std::tie(peer.rtpPort, peer.rtcpPort) = *transport.serverPort;
    peer.ssrc = transport.ssrc;
    const ipv4AddressBits destination = net::numericAddress(transport.destination);
    const ipv4AddressBits group =
        IsMulticastAddress(destination) ? destination : subsession.connectionEndpointAddress();
    if (transport.multicast) {
        if (!IsMulticastAddress(group)) {
            why = "The server names no multicast group";
            return false;
        }
        const auto ports = transport.port ? transport.port : transport.clientPort;
        const portNumBits port = ports ? ports->first : subsession.clientPortNum();
        if (port != 0 && subsession.moveToGroup(group, port, peer)) return true;
        why = port == 0 ? "The server names no multicast port" : env().getResultMsg();
        return false;
    }
    subsession.setPeer(peer);
    return true;
}

void RTSPClient::Engine::applyPlay(const Request& request, const Message& reply) {
    MediaSession& session = *request.session;
    const auto range = live::sdp::parseRange(reply.header("Range"));
    std::string_view scaleText = protocol::trim(reply.header("Scale"));
    const bool backwards = scaleText.starts_with('-');
    if (backwards) scaleText.remove_prefix(1);
    const double scale = protocol::parseSeconds(scaleText).value_or(1.0);
    constexpr double kFastest = 1000;
    session.setPlayed(range ? &*range : nullptr,
                      static_cast<float>(std::min(scale, kFastest) * (backwards ? -1 : 1)));

    const auto entries = rtsp::parseRtpInfo(reply.header("RTP-Info"));
    MediaSubsessionIterator subsessions(session);
    std::size_t position = 0;
    while (MediaSubsession* const subsession = subsessions.next()) {
        if (!*subsession->sessionId()) continue;
        // By address; servers that write it differently keep the order at least.
        const std::string url = rtsp::controlUrl(sessionUrl(session), subsession->controlPath());
        auto entry =
            std::find_if(entries.begin(), entries.end(), [&](const auto& e) { return e.url == url; });
        if (entry == entries.end() && position < entries.size())
            entry = entries.begin() + static_cast<long>(position);
        ++position;
        subsession->setRtpInfo(entry != entries.end() ? entry->timestamp : std::nullopt);
    }
}

void RTSPClient::Engine::onConnectionLost(int error, unsigned status, const std::string& why) {
    const live::LifeFlag::Watch alive(m_life);
    std::deque<Request> waiting = std::exchange(m_requests, {});
    const int code = status != 0 ? static_cast<int>(status) : error != 0 ? -error : -ECONNRESET;
    for (Request& request : waiting) {
        // Servers that close behind their challenge: nothing of the answer to it has come.
        if (status == 0 && request.challenges > 0 && !request.reconnected) {
            request.reconnected = true;
            if (transmit(request)) {
                m_requests.push_back(std::move(request));
                continue;
            }
        }
        env().setResultMsg(why.c_str());
        answer(request, code, why);
        if (!alive) return;
    }
}

// To be opened again by the next request.
void RTSPClient::Engine::closeQuietly() {
    if (!m_connection.hasReceivers()) m_connection.close();
}

void RTSPClient::Engine::answer(const Request& request, int code, const std::string& result) {
    if (!request.handler) return;
    auto copy = std::make_unique<char[]>(result.size() + 1);
    std::memcpy(copy.get(), result.c_str(), result.size() + 1);
    // The interface hands it to the handler, which frees it.
    request.handler(&m_client, code, copy.release());
}

// Not from inside a command: its caller does not expect to be called back.
void RTSPClient::Engine::failLater(Request request, int code, std::string why) {
    m_failures.push_back({std::move(request), code, std::move(why)});
    if (m_failureTask) return;
    m_failureTask = env().taskScheduler().scheduleDelayedTask(
        0, [](void* self) { static_cast<Engine*>(self)->reportFailures(); }, this);
}

void RTSPClient::Engine::reportFailures() {
    const live::LifeFlag::Watch alive(m_life);
    m_failureTask = nullptr;
    const std::deque<Failure> failures = std::exchange(m_failures, {});
    for (const Failure& failure : failures) {
        env().setResultMsg(failure.why.c_str());
        answer(failure.request, failure.code, failure.why);
        if (!alive) return;
    }
}
