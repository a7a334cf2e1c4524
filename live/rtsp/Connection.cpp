#include "live/rtsp/Connection.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "live/env/Random.h"
#include "net/Failure.h"
#include "protocol/Origin.h"
#include "protocol/Text.h"

namespace live::rtsp {
namespace {

constexpr std::size_t kReadAhead = 256 * 1024;
constexpr std::size_t kMaxUnsent = 1024 * 1024;
// Reports are not worth waiting for a server that doesn't read.
constexpr std::size_t kMaxUnsentPackets = 16 * 1024;
constexpr std::size_t kMaxSkipped = 256 * 1024;
// Packets amid one message. Each costs another look at what there is of it, and no server's threads are that
// far out of step: what is interrupted so often is not going to end.
constexpr unsigned kMaxInterruptions = 512;
constexpr int kMaxReads = 16;
// Only has to be some length; a POST that has carried it is renewed.
constexpr std::size_t kPostLength = 32767;
constexpr std::int64_t kLookupInterval = 10'000;  // microseconds

std::size_t encodedSize(std::size_t size) {
    return (size + 2) / 3 * 4;
}

std::string postRefused(unsigned status) {
    return "The server refuses the tunnel's POST: " + std::to_string(status);
}

}  // namespace

Connection::Connection(UsageEnvironment& env, ConnectionUser& user, std::size_t maxMessage)
    : m_env(env),
      m_user(user),
      m_framer(maxMessage),
      m_received(std::max(maxMessage, Framer::kMaxPacket) + kReadAhead) {}

Connection::~Connection() {
    endReceivers(false);
    if (m_state == State::Open && m_input) {
        // A socket that is closed with bytes unread resets the connection, and takes what we sent last with
        // it.
        ::shutdown(output().get(), 1);
        for (int i = 0; i < kMaxReads; ++i) {
            if (net::receive(m_input.get(), m_received.data(), m_received.size()) <= 0) break;
        }
    }
    close();
}

bool Connection::connectTo(net::SocketHandle& socket, TaskScheduler::BackgroundHandlerProc* handler) {
    socket =
        net::SocketHandle(static_cast<int>(::socket(m_endpoint.address.get()->sa_family, SOCK_STREAM, 0)));
    if (!socket || !net::makeNonBlocking(socket.get())) {
        m_env.setResultErrMsg("unable to create stream socket: ");
        return false;
    }
    const int on = 1;
    ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
    net::SocketAddress address = m_endpoint.address;
    address.setPort(m_endpoint.port);
    if (::connect(socket.get(), address.get(), static_cast<socklen_t>(address.length)) != 0 &&
        !net::connectPending(net::lastError())) {
        m_env.setResultErrMsg("connect() failed: ");
        return false;
    }
    m_env.taskScheduler().setBackgroundHandling(socket.get(), SOCKET_WRITABLE | SOCKET_EXCEPTION, handler,
                                                this);
    return true;
}

bool Connection::open(const Endpoint& endpoint) {
    close();
    const net::SocketAddress known =
        endpoint.host == m_endpoint.host ? m_endpoint.address : net::SocketAddress();
    m_endpoint = endpoint;
    if (!m_endpoint.address.isKnown()) m_endpoint.address = known;
    if (!m_endpoint.address.isKnown()) {
        if (const auto numeric = net::numericAddresses(m_endpoint.host); !numeric.empty())
            m_endpoint.address = numeric.front();
    }
    m_tunnelRetried = false;
    ++m_openings;
    return m_endpoint.address.isKnown() ? connectInput() : lookUp();
}

bool Connection::lookUp() {
    m_lookup = net::Lookup::begin(m_endpoint.host);
    if (!m_lookup) {
        m_env.setResultMsg("Too many look-ups of network addresses are under way");
        return false;
    }
    m_state = State::Resolving;
    awaitLookup();
    return true;
}

// The thread that looks it up knows nothing of the event loop, which may be gone by then: it is asked.
void Connection::awaitLookup() {
    m_lookupTask = m_env.taskScheduler().scheduleDelayedTask(
        kLookupInterval, [](void* self) { static_cast<Connection*>(self)->onLookup(); }, this);
}

void Connection::onLookup() {
    m_lookupTask = nullptr;
    if (!m_lookup->done()) {
        awaitLookup();
        return;
    }
    if (!m_lookup->addresses().empty()) m_endpoint.address = m_lookup->addresses().front();
    m_lookup.reset();
    if (!m_endpoint.address.isKnown()) {
        lose(net::kNameNotFound, "Failed to find the network address of \"" + m_endpoint.host + "\"");
    } else if (!connectInput()) {
        lose(net::lastError(), m_env.getResultMsg());
    }
}

bool Connection::connectInput() {
    if (!connectTo(m_input, socketReady)) {
        m_input.reset();
        return false;
    }
    m_state = State::Connecting;
    return true;
}

void Connection::adopt(int connectedSocket) {
    close();
    m_endpoint = {};
    ++m_openings;
    m_input = net::SocketHandle(connectedSocket);
    net::SocketAddress& server = m_endpoint.address;
    socklen_t length = sizeof server.storage;
    if (::getpeername(connectedSocket, reinterpret_cast<sockaddr*>(&server.storage), &length) == 0)
        server.length = static_cast<int>(length);
    net::makeNonBlocking(connectedSocket);
    becomeOpen();
}

void Connection::close() {
    m_env.taskScheduler().unscheduleDelayedTask(m_lookupTask);
    m_lookup.reset();
    m_env.taskScheduler().unscheduleDelayedTask(m_lossTask);
    m_env.taskScheduler().disableBackgroundHandling(m_input.get());
    m_env.taskScheduler().disableBackgroundHandling(m_output.get());
    m_input.reset();
    m_output.reset();
    m_state = State::Closed;
    m_begin = m_end = m_skipped = m_posted = 0;
    m_interruptions = 0;
    m_postEnded = false;
    m_unsent.clear();
    m_waiting.clear();
}

void Connection::socketReady(void* self, int mask) {
    auto* const connection = static_cast<Connection*>(self);
    if (connection->m_state == State::Connecting) {
        connection->onConnected();
        return;
    }
    if (mask & SOCKET_WRITABLE) connection->flush();
    if (mask & SOCKET_READABLE) connection->onReadable();
}

void Connection::outputReady(void* self, int mask) {
    auto* const connection = static_cast<Connection*>(self);
    if (connection->m_state == State::TunnelPosting) {
        connection->onPostConnected();
    } else if (mask & SOCKET_READABLE) {
        connection->onOutputReadable();  // and again, if there is also something to be sent
    } else if (!connection->flush()) {
        connection->lose(net::lastError(), "The tunnel's POST connection is lost");
    }
}

void Connection::watchInput() {
    const bool writing = !m_endpoint.tunnel && !m_unsent.empty();
    m_env.taskScheduler().setBackgroundHandling(
        m_input.get(), SOCKET_READABLE | (writing ? SOCKET_WRITABLE | SOCKET_EXCEPTION : 0), socketReady,
        this);
}

void Connection::onConnected() {
    if (const int error = net::connectResult(m_input.get())) {
        lose(error, "Failed to connect to the server: " + net::errorText(error));
        return;
    }
    if (!m_endpoint.tunnel) {
        becomeOpen();
        return;
    }
    m_cookie = std::to_string(random32()) + std::to_string(random32());
    m_state = State::TunnelWaiting;
    watchInput();
    const std::string request = tunnelRequest("GET");
    if (net::send(m_input.get(), request.data(), request.size()) !=
        static_cast<std::ptrdiff_t>(request.size())) {
        lose(net::lastError(), "Failed to send the tunnel's GET request");
    }
}

std::string Connection::tunnelRequest(std::string_view method) {
    std::string request(method);
    request += " " + m_endpoint.tunnelPath + " HTTP/1.0\r\n";
    request += "Host: " + protocol::hostInUrl(m_endpoint.address.text()) + ":" +
               std::to_string(m_endpoint.port) + "\r\n";
    request += m_user.tunnelAuthorization(method);
    if (!m_endpoint.userAgent.empty()) request += "User-Agent: " + m_endpoint.userAgent + "\r\n";
    request += "x-sessioncookie: " + m_cookie + "\r\n";
    if (method == "GET") {
        request += "Accept: application/x-rtsp-tunnelled\r\n";
    } else {
        request +=
            "Content-Type: application/x-rtsp-tunnelled\r\nContent-Length: " + std::to_string(kPostLength) +
            "\r\n"
            "Expires: Sun, 9 Jan 1972 00:00:00 GMT\r\n";
    }
    return request + "Pragma: no-cache\r\nCache-Control: no-cache\r\n\r\n";
}

void Connection::onTunnelReply(const Message& reply) {
    if (reply.isHttp && reply.status == 200) {
        m_state = State::TunnelPosting;
        if (!connectTo(m_output, outputReady)) lose(net::lastError(), m_env.getResultMsg());
        return;
    }
    const std::string why = "The server refuses the HTTP tunnel: " + std::to_string(reply.status) + " " +
                            std::string(reply.reason.substr(0, 80));
    if (reply.status == 401 && !m_tunnelRetried && m_user.onTunnelChallenge(reply)) {
        const Endpoint endpoint = m_endpoint;
        const std::string waiting = std::move(m_waiting);
        if (open(endpoint)) {
            m_tunnelRetried = true;
            m_waiting = waiting;
            return;
        }
    }
    lose(0, why, reply.status);
}

void Connection::onPostConnected() {
    if (const int error = net::connectResult(m_output.get())) {
        lose(error, "Failed to connect to the server: " + net::errorText(error));
        return;
    }
    m_unsent = tunnelRequest("POST");
    m_posted = 0;
    m_postEnded = false;
    m_postReply.clear();
    becomeOpen();
}

void Connection::becomeOpen() {
    m_state = State::Open;
    const std::string waiting = std::exchange(m_waiting, {});
    watchInput();
    queue(waiting);
    flush();
}

bool Connection::send(std::string_view bytes) {
    if (m_state == State::Closed || m_unsent.size() + m_waiting.size() + bytes.size() > kMaxUnsent)
        return false;
    if (m_lossTask) return true;  // its loss will be told
    // The server may have closed it behind the last request; the event loop need not have got to it.
    if (m_state == State::Open && m_endpoint.tunnel && m_output) {
        if (const unsigned status = readPostReply()) {
            loseSoon(0, postRefused(status), status);
            return true;
        }
    }
    if (m_state == State::Open && m_endpoint.tunnel &&
        (m_postEnded || m_posted + encodedSize(bytes.size()) > kPostLength) && !renewPost())
        return true;
    if (m_state != State::Open) {
        m_waiting += bytes;
        return true;
    }
    queue(bytes);
    return flush();
}

// The same tunnel goes on with another POST: the cookie joins them. False when there can be none.
bool Connection::renewPost() {
    flush();  // what doesn't go out now is lost with the connection
    m_env.taskScheduler().disableBackgroundHandling(m_output.get());
    m_output.reset();
    m_unsent.clear();
    m_state = State::TunnelPosting;
    if (connectTo(m_output, outputReady)) return true;
    loseSoon(net::lastError(), m_env.getResultMsg());
    return false;
}

void Connection::watchOutput() {
    const int writing = m_unsent.empty() ? 0 : SOCKET_WRITABLE | SOCKET_EXCEPTION;
    m_env.taskScheduler().setBackgroundHandling(m_output.get(), SOCKET_READABLE | writing, outputReady, this);
}

// The server has nothing to say there but that it refuses, or that it has had enough. The status with which
// it refuses, else 0.
unsigned Connection::readPostReply() {
    char bytes[512];
    const std::ptrdiff_t size = net::receive(m_output.get(), bytes, sizeof bytes);
    if (size < 0 && net::wouldBlock(net::lastError())) return 0;
    if (size <= 0) {
        m_env.taskScheduler().disableBackgroundHandling(m_output.get());
        m_output.reset();
        m_postEnded = true;
        return 0;
    }
    constexpr std::size_t kStatusLine = 12;  // "HTTP/1.1 401"
    if (m_postReply.size() >= kStatusLine) return 0;
    m_postReply.append(bytes, std::min<std::size_t>(static_cast<std::size_t>(size), kStatusLine));
    if (m_postReply.size() < kStatusLine || !m_postReply.starts_with("HTTP/")) return 0;
    constexpr unsigned kRefused = 400;
    const unsigned status =
        protocol::parseNumber(std::string_view(m_postReply).substr(9, 3), 999).value_or(0);
    return status >= kRefused ? status : 0;
}

void Connection::onOutputReadable() {
    if (const unsigned status = readPostReply()) lose(0, postRefused(status), status);
}

void Connection::queue(std::string_view bytes) {
    if (m_endpoint.tunnel) {
        m_unsent += protocol::encodeBase64(bytes);
        m_posted += encodedSize(bytes.size());
    } else {
        m_unsent += bytes;
    }
}

// False when nothing can be sent any more.
bool Connection::flush() {
    if (m_state != State::Open) return true;
    std::size_t sent = 0;
    while (sent < m_unsent.size()) {
        const std::ptrdiff_t n = net::send(output().get(), m_unsent.data() + sent, m_unsent.size() - sent);
        if (n < 0) {
            const int error = net::lastError();
            if (net::wouldBlock(error)) break;
            // The reading side tells whoever waits, after what the server may still have said.
            m_unsent.clear();
            return false;
        }
        sent += static_cast<std::size_t>(n);
    }
    m_unsent.erase(0, sent);
    if (!m_endpoint.tunnel) {
        if (sent > 0 || !m_unsent.empty()) watchInput();
    } else if (m_output) {
        watchOutput();
    }
    return true;
}

void Connection::onReadable() {
    const LifeFlag::Watch alive(m_life);
    for (int i = 0; i < kMaxReads && m_state != State::Closed; ++i) {
        if (m_begin > 0 && m_received.size() - m_end < kReadAhead / 2) {
            std::memmove(m_received.data(), m_received.data() + m_begin, m_end - m_begin);
            m_end -= std::exchange(m_begin, 0);
        }
        const std::size_t room = m_received.size() - m_end;
        const std::ptrdiff_t size = net::receive(m_input.get(), m_received.data() + m_end, room);
        if (size <= 0) {
            const int error = size < 0 ? net::lastError() : 0;
            if (size < 0 && net::wouldBlock(error)) return;
            lose(error, size == 0 ? "The server closed the connection"
                                  : "The connection to the server is lost: " + net::errorText(error));
            return;
        }
        m_end += static_cast<std::size_t>(size);
        if (!parse() || !alive) return;
        if (m_begin == m_end) m_begin = m_end = 0;
        if (static_cast<std::size_t>(size) < room) return;  // drained
    }
}

// False when the connection, or all of us, has ended meanwhile.
bool Connection::parse() {
    const LifeFlag::Watch alive(m_life);
    const unsigned opening = m_openings;
    const auto gone = [&] { return !alive || m_state == State::Closed || m_openings != opening; };
    while (m_begin < m_end) {
        const rtp::Bytes received = rtp::Bytes(m_received).subspan(m_begin, m_end - m_begin);
        const Framer::Item item = m_framer.next(received);
        if (item == Framer::Item::NeedMore) return true;
        if (item == Framer::Item::Error) {
            lose(0, m_framer.error());
            return false;
        }
        if (item == Framer::Item::Garbage) {
            // Amid a stream there is a way on; in place of a reply there is none.
            const bool blank = received[0] == '\r' || received[0] == '\n';
            m_skipped += m_framer.size();
            if ((!blank && !hasReceivers()) || m_skipped > kMaxSkipped) {
                lose(0, "The server's reply is not RTSP");
                return false;
            }
            m_begin += m_framer.size();
            continue;
        }
        if (item == Framer::Item::Packet) {
            rtp::InterleavedReceiver* const receiver = m_receivers[m_framer.channel()];
            if (m_skipped > 0 && !receiver) {
                // Looking for the next packet, this only looks like one.
                ++m_skipped;
                ++m_begin;
                continue;
            }
            m_skipped = 0;
            const std::size_t offset = m_framer.offset();
            const std::size_t size = m_framer.size();
            if (receiver) receiver->onInterleaved(m_framer.packet());
            if (gone()) return false;
            if (offset > 0)
                std::memmove(m_received.data() + m_begin + size, m_received.data() + m_begin, offset);
            m_begin += size;
            m_interruptions = offset > 0 ? m_interruptions + 1 : 0;
            if (m_interruptions == kMaxInterruptions) m_begin += offset;
            continue;
        }
        m_skipped = 0;
        m_interruptions = 0;
        const std::size_t size = m_framer.size();
        if (m_state == State::TunnelWaiting) {
            onTunnelReply(m_framer.message());
        } else {
            m_user.onMessage(m_framer.message());
        }
        if (gone()) return false;
        m_begin += size;
    }
    return true;
}

void Connection::lose(int error, const std::string& why, unsigned status) {
    const LifeFlag::Watch alive(m_life);
    close();
    m_user.onConnectionLost(error, status, why);
    if (alive) endReceivers(true);
}

// Not from inside of what somebody asks for: he does not expect to be called back.
void Connection::loseSoon(int error, std::string why, unsigned status) {
    if (m_lossTask) return;
    m_loss = {error, std::move(why), status};
    m_lossTask = m_env.taskScheduler().scheduleDelayedTask(
        0,
        [](void* self) {
            auto* const connection = static_cast<Connection*>(self);
            connection->m_lossTask = nullptr;
            const Loss loss = std::move(connection->m_loss);
            connection->lose(loss.error, loss.why, loss.status);
        },
        this);
}

bool Connection::sendInterleaved(unsigned channel, rtp::Bytes packet) {
    if (m_state != State::Open || m_lossTask || m_unsent.size() > kMaxUnsentPackets) return false;
    // Reports do not use up what requests need.
    if (m_endpoint.tunnel && (m_postEnded || m_posted + encodedSize(packet.size() + 4) > kPostLength))
        renewPost();
    if (m_state != State::Open) return false;
    m_packet.assign(1, '$');
    m_packet += static_cast<char>(channel);
    m_packet += static_cast<char>(packet.size() >> 8);
    m_packet += static_cast<char>(packet.size());
    m_packet.append(packet.begin(), packet.end());
    queue(m_packet);
    return flush();
}

bool Connection::addReceiver(unsigned channel, rtp::InterleavedReceiver& receiver) {
    if (channel >= m_receivers.size() || m_receivers[channel]) return false;
    m_receivers[channel] = &receiver;
    ++m_receiverCount;
    return true;
}

void Connection::removeReceiver(rtp::InterleavedReceiver& receiver) {
    for (auto& known : m_receivers) {
        if (known != &receiver) continue;
        known = nullptr;
        --m_receiverCount;
    }
}

void Connection::endReceivers(bool lost) {
    const LifeFlag::Watch alive(m_life);
    for (std::size_t i = 0; i < m_receivers.size() && m_receiverCount > 0; ++i) {
        rtp::InterleavedReceiver* const receiver = std::exchange(m_receivers[i], nullptr);
        if (!receiver) continue;
        --m_receiverCount;
        receiver->onConnectionEnded(lost);
        if (!alive) return;
    }
}

}  // namespace live::rtsp
