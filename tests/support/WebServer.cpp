#include "tests/support/WebServer.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

std::string HeaderOf(const std::string& request, const std::string& name) {
    const std::size_t at = request.find("\r\n" + name + ": ");
    if (at == std::string::npos) return {};
    const std::size_t begin = at + name.size() + 4;
    return request.substr(begin, request.find("\r\n", begin) - begin);
}

void Send(SOCKET socket, const std::string& bytes) {
    send(socket, bytes.data(), static_cast<int>(bytes.size()), 0);
}

bool IsRtsp(const std::string& request) {
    return request.find(" RTSP/1.0\r\n") != std::string::npos;
}

}  // namespace

std::string HttpReply(const std::string& status, const std::string& headers, const std::string& body) {
    return "HTTP/1.1 " + status + "\r\nConnection: close\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string Challenge(const std::string& request) {
    const std::string challenge = "WWW-Authenticate: Basic realm=\"x\"\r\n";
    if (!IsRtsp(request)) return HttpReply("401 Unauthorized", challenge, "");
    return RtspReply(request, "401 Unauthorized", challenge);
}

std::string RtspReply(const std::string& request, const std::string& status, const std::string& headers,
                      const std::string& body) {
    return "RTSP/1.0 " + status + "\r\nCSeq: " + HeaderOf(request, "CSeq") + "\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string RtspReply(const std::string& request, const std::string& media) {
    const std::string begin = "RTSP/1.0 200 OK\r\nCSeq: " + HeaderOf(request, "CSeq") + "\r\n";
    if (request.starts_with("OPTIONS")) return begin + "Public: DESCRIBE, SETUP, PLAY, TEARDOWN\r\n\r\n";
    if (request.starts_with("DESCRIBE")) {
        const std::string sdp = "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=x\r\nt=0 0\r\n" + media;
        return begin + "Content-Type: application/sdp\r\nContent-Length: " + std::to_string(sdp.size()) +
               "\r\n\r\n" + sdp;
    }
    if (request.starts_with("SETUP"))
        return begin + "Session: 1\r\nTransport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n\r\n";
    return begin + "Session: 1\r\n\r\n";
}

WebServer::WebServer(const char* address, std::uint16_t port, Answer answer, Stream stream)
    : answer_(std::move(answer)), stream_(std::move(stream)) {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    listener_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in where = {};
    where.sin_family = AF_INET;
    where.sin_addr.s_addr = inet_addr(address);
    where.sin_port = htons(port);
    int length = sizeof(where);
    auto* const plain = reinterpret_cast<sockaddr*>(&where);
    EXPECT_EQ(bind(listener_, plain, length), 0) << address << ":" << port;
    listen(listener_, 16);
    getsockname(listener_, plain, &length);
    port_ = ntohs(where.sin_port);
    thread_ = std::thread([this] { Serve(); });
}

WebServer::~WebServer() {
    stop_.Set();
    thread_.join();
    closesocket(listener_);
    WSACleanup();
}

std::vector<std::string> WebServer::Take() {
    const std::lock_guard<std::mutex> lock(lock_);
    return std::exchange(requests_, {});
}

bool WebServer::WasAsked() {
    const std::lock_guard<std::mutex> lock(lock_);
    return !requests_.empty();
}

bool WebServer::AwaitReadable(SOCKET socket) {
    while (!stop_.Wait(0)) {
        if (playing_) Send(socket, stream_());
        fd_set set = {1, {socket}};
        timeval moment = {0, 10'000};
        if (select(0, &set, nullptr, nullptr, &moment) > 0) return true;
    }
    return false;
}

bool WebServer::ReadRequest(SOCKET socket, std::string& request) {
    char buffer[2048];
    const auto read = [&] {
        if (!AwaitReadable(socket)) return false;
        const int count = recv(socket, buffer, sizeof(buffer), 0);
        if (count > 0) request.append(buffer, static_cast<std::size_t>(count));
        return count > 0;
    };
    constexpr char kTlsHandshake = 0x16;
    std::size_t end = 0;
    while ((end = request.find("\r\n\r\n")) == std::string::npos) {
        if (!read()) return false;
        if (request[0] == kTlsHandshake) return true;
    }
    const std::string length = HeaderOf(request, "Content-Length");
    const std::size_t whole = end + 4 + (length.empty() ? 0 : std::stoul(length));
    while (request.size() < whole)
        if (!read()) return false;
    return true;
}

// One connection after the other: a client that leaves one open must not open another meanwhile.
void WebServer::Serve() {
    while (AwaitReadable(listener_)) {
        const SOCKET connection = accept(listener_, nullptr, nullptr);
        std::string request;
        while (ReadRequest(connection, request)) {
            {
                const std::lock_guard<std::mutex> lock(lock_);
                requests_.push_back(request);
            }
            Send(connection, answer_(request));
            playing_ = stream_ && request.starts_with("PLAY");
            if (!IsRtsp(request)) break;
            request.clear();
        }
        playing_ = false;
        shutdown(connection, SD_SEND);
        closesocket(connection);
    }
}
