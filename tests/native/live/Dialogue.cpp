#include "Dialogue.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "net/KnownServers.h"
#include "net/SocketHandle.h"
#include "net/Sockets.h"
#include "protocol/Text.h"

namespace live_test {
namespace {

const char kSdp[] =
    "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=Camera\r\na=control:*\r\nm=video 0 RTP/AVP 96\r\n"
    "a=rtpmap:96 H264/90000\r\na=control:video\r\n";
const char kSdpTwo[] = "m=audio 0 RTP/AVP 0\r\na=control:audio\r\n";

std::string stockSdp(const std::string& name) {
    return name == "two" ? std::string(kSdp) + kSdpTwo : kSdp;
}

std::string rtpPacket(int number, const std::string& text) {
    const std::string header = {
        '\x80', '\x60', static_cast<char>(number >> 8), static_cast<char>(number), 0, 0, 0, 0, 0, 0, 0, 7};
    return header + "e" + text;
}

std::string word(std::istringstream& in) {
    std::string text;
    in >> text;
    return text;
}

std::string rest(std::istringstream& in) {
    std::string text;
    std::getline(in >> std::ws, text);
    return text;
}

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
}

}  // namespace

Script readScript(const std::filesystem::path& file) {
    Script script;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        if (line.ends_with('\r')) line.pop_back();
        std::istringstream words(line);
        const std::string key = word(words);
        if (key == "#") continue;
        if (key == "url")
            script.url = rest(words);
        else if (key == "route")
            script.route = rest(words);
        else if (key == "transport")
            script.transport = rest(words);
        else if (key == "listen")
            script.listen = rest(words) != "no";
        else if (key == "expect")
            script.expected.push_back(rest(words));
        else if (key == "never")
            script.never.push_back(rest(words));
        else if (key == "media")
            script.media = rest(words);
        else if (key == "watch")
            script.watchMilliseconds = std::stoi(rest(words));
        else if (key == "keepalive")
            script.keepAliveMilliseconds = std::stoi(rest(words));
        else if (key == "log")
            script.logged.push_back(rest(words));
        else if (key == "within")
            script.withinMilliseconds = std::stoi(rest(words));
        else
            script.steps.push_back(line);
    }
    return script;
}

ScriptedServer::ScriptedServer(const Script& script) : m_script(script) {
    net::startUp();
    net::KnownServers::get().forget();  // of whoever had this port before
    m_listener = static_cast<int>(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("no port to listen on");
    }
    socklen_t length = sizeof address;
    ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
    m_port = ntohs(address.sin_port);
    if (!script.listen) {
        net::closeSocket(std::exchange(m_listener, -1));
        return;
    }
    m_datagrams = static_cast<int>(::socket(AF_INET, SOCK_DGRAM, 0));
    address.sin_port = 0;
    ::bind(m_datagrams, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    ::getsockname(m_datagrams, reinterpret_cast<sockaddr*>(&address), &length);
    m_datagramPort = ntohs(address.sin_port);
    net::makeNonBlocking(m_datagrams);
    ::listen(m_listener, 8);
    net::makeNonBlocking(m_listener);
    m_thread = std::thread([this] { run(); });
}

ScriptedServer::~ScriptedServer() {
    finish();
}

void ScriptedServer::finish() {
    for (int i = 0; i < 1000 && m_thread.joinable() && !m_followed; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_stop = true;
    if (m_thread.joinable()) m_thread.join();
    for (int* socket : {&m_socket, &m_held, &m_listener, &m_datagrams}) {
        if (*socket >= 0) net::closeSocket(std::exchange(*socket, -1));
    }
}

std::string ScriptedServer::filled(std::string text) const {
    replaceAll(text, "{host}", "127.0.0.1:" + std::to_string(m_port));
    replaceAll(text, "{port}", std::to_string(m_port));
    replaceAll(text, "{udp}", std::to_string(m_datagramPort));
    replaceAll(text, "{cseq}", m_sequence);
    return text;
}

void ScriptedServer::run() {
    std::size_t next = acceptNext() ? 0 : m_script.steps.size();
    while (next < m_script.steps.size() && !m_stop) {
        const std::string& line = m_script.steps[next++];
        if (line.empty()) continue;
        if (step(line, next)) continue;
        if (m_complaint.empty() && !m_stop) m_complaint = "could not: " + line;
        break;
    }
    m_followed = true;
    while (!m_stop)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

bool ScriptedServer::step(const std::string& line, std::size_t& next) {
    std::istringstream in(line);
    const std::string key = word(in);
    if (key == ">") return awaitRequest(rest(in));
    if (key == "until") return awaitRequest(rest(in), true);
    if (key == "<") return send(filled(line.size() > 2 ? line.substr(2) : "") + "\r\n"), true;
    if (key == "answer") {
        const std::string method = word(in);
        const std::string more = rest(in);
        return awaitRequest(method) && (answer(method, more), true);
    }
    if (key == "accept") return closeCurrent(false), acceptNext();
    if (key == "hold") {
        const net::SocketHandle oldest(std::exchange(m_held, std::exchange(m_socket, -1)));
        return acceptNext();
    }
    if (key == "other") return std::swap(m_held, m_socket), true;
    if (key == "close") return closeCurrent(false), true;
    if (key == "reset") return closeCurrent(true), true;
    if (key == "base64") return m_base64 = true, take(std::exchange(m_received, {})), true;
    if (key == "plain") return m_base64 = false, true;
    if (key == "body") {
        std::string body;
        while (next < m_script.steps.size() && m_script.steps[next] != "end")
            body += m_script.steps[next++] + "\r\n";
        ++next;
        return sendBody(filled(body)), true;
    }
    if (key == "sdp") return sendBody(stockSdp(rest(in))), true;
    if (key == "raw") {
        std::string bytes;
        for (std::string hex = word(in); !hex.empty(); hex = word(in)) {
            bytes += static_cast<char>(std::stoi(hex, nullptr, 16));
        }
        return send(bytes);
    }
    if (key == "rtp") {
        const int channel = std::stoi(word(in));
        const int number = std::stoi(word(in));
        const std::string packet = rtpPacket(number, rest(in));
        const std::string frame = {'$', static_cast<char>(channel), static_cast<char>(packet.size() >> 8),
                                   static_cast<char>(packet.size())};
        return send(frame + packet);
    }
    if (key == "udp" || key == "foreign") {
        const int number = std::stoi(word(in));
        const std::uint32_t from = INADDR_LOOPBACK + (key == "udp" ? 0 : 1);
        return sendDatagram(rtpPacket(number, rest(in)), from), true;
    }
    if (key == "way") return awaitDatagrams(std::stoi(word(in)));
    if (key == "fill") {
        const std::size_t count = std::stoul(word(in));
        const std::string text(count, rest(in)[0]);
        send(text);  // the client may hang up in the middle
        return true;
    }
    if (key == "wait") {
        const int milliseconds = std::stoi(word(in));
        for (int i = 0; i < milliseconds && !m_stop; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return true;
    }
    m_complaint = "unknown step: " + line;
    return false;
}

bool ScriptedServer::acceptNext() {
    while (!m_stop) {
        m_socket = static_cast<int>(::accept(m_listener, nullptr, nullptr));
        if (m_socket >= 0) {
            net::makeNonBlocking(m_socket);
            m_received.clear();
            m_encoded.clear();
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

bool ScriptedServer::awaitRequest(const std::string& wanted, bool skipOthers) {
    std::string request;
    while (request.empty() && !m_stop) {
        // Reports that the client sends meanwhile.
        while (m_received.size() >= 4 && m_received[0] == '$') {
            const auto size = static_cast<std::size_t>(static_cast<unsigned char>(m_received[2])) << 8 |
                              static_cast<unsigned char>(m_received[3]);
            if (m_received.size() < 4 + size) break;
            m_received.erase(0, 4 + size);
        }
        const std::size_t end = m_received.find("\r\n\r\n");
        if (end != std::string::npos && m_received[0] != '$') {
            request = m_received.substr(0, end + 4);
            m_received.erase(0, end + 4);
            break;
        }
        char bytes[4096];
        const std::ptrdiff_t size = net::receive(m_socket, bytes, sizeof bytes);
        if (size == 0) {
            m_complaint = "the client hung up before: " + wanted;
            return false;
        }
        if (size > 0) {
            take(std::string(bytes, static_cast<std::size_t>(size)));
            continue;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::istringstream words(wanted);
    const std::string method = word(words);
    if (m_stop) {
        m_complaint = "never came: " + wanted;
        return false;
    }
    if (skipOthers && !request.starts_with(method + " ")) return awaitRequest(wanted, true);
    if (!request.starts_with(method + " ")) {
        m_complaint = "wanted " + wanted + ", got:\n" + request;
        return false;
    }
    std::string text = filled(rest(words));
    const bool absent = text.starts_with('!');
    if (absent) text.erase(0, 1);
    if (!text.empty() && (request.find(text) == std::string::npos) != absent) {
        m_complaint = "wanted " + wanted + ", got:\n" + request;
        return false;
    }
    const std::size_t at = request.find("CSeq: ");
    const std::string clientPort = "client_port=";
    if (const std::size_t port = request.find(clientPort); port != std::string::npos)
        m_clientPort = static_cast<unsigned short>(std::stoi(request.substr(port + clientPort.size())));
    if (at != std::string::npos) m_sequence = request.substr(at + 6, request.find('\r', at) - at - 6);
    return true;
}

void ScriptedServer::answer(const std::string& method, const std::string& more) {
    send("RTSP/1.0 200 OK\r\nCSeq: " + m_sequence + "\r\n");
    if (method == "OPTIONS") {
        send("Public: OPTIONS, DESCRIBE, SETUP, PLAY, GET_PARAMETER, TEARDOWN" + more + "\r\n\r\n");
    } else if (method == "DESCRIBE") {
        sendBody(stockSdp(more));
    } else if (method == "SETUP") {
        const std::string channel = std::to_string(m_channel);
        m_channel += 2;
        send("Transport: RTP/AVP" +
             (m_script.transport == "udp"
                  ? ";unicast;server_port=6000-6001"
                  : "/TCP;unicast;interleaved=" + channel + "-" + std::to_string(m_channel - 1)) +
             "\r\nSession: 1234;timeout=60" + more + "\r\n\r\n");
    } else {
        send("Session: 1234\r\n\r\n");
    }
}

void ScriptedServer::take(const std::string& text) {
    if (!m_base64) {
        m_received += text;
        return;
    }
    // Four characters are three bytes, wherever the connection cuts them.
    m_encoded += text;
    const std::size_t whole = m_encoded.size() / 4 * 4;
    const auto decoded = protocol::decodeBase64(m_encoded.substr(0, whole));
    m_encoded.erase(0, whole);
    m_received.append(decoded.begin(), decoded.end());
}

bool ScriptedServer::send(const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size() && !m_stop) {
        const std::ptrdiff_t size = net::send(m_socket, bytes.data() + sent, bytes.size() - sent);
        if (size > 0) {
            sent += static_cast<std::size_t>(size);
        } else if (!net::wouldBlock(net::lastError())) {
            return false;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    return true;
}

void ScriptedServer::sendDatagram(const std::string& bytes, std::uint32_t from) {
    const net::SocketHandle socket(static_cast<int>(::socket(AF_INET, SOCK_DGRAM, 0)));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(from);
    ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_clientPort);
    net::sendTo(socket.get(), bytes.data(), bytes.size(), address);
}

bool ScriptedServer::awaitDatagrams(int count) {
    while (count > 0 && !m_stop) {
        char bytes[100];
        if (net::receive(m_datagrams, bytes, sizeof bytes) >= 0)
            --count;
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return count == 0;
}

void ScriptedServer::sendBody(const std::string& body) {
    send("Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
}

void ScriptedServer::closeCurrent(bool reset) {
    if (m_socket < 0) return;
    if (reset) {
        linger none{};
        none.l_onoff = 1;
        ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&none), sizeof none);
    }
    net::closeSocket(std::exchange(m_socket, -1));
}

}  // namespace live_test
