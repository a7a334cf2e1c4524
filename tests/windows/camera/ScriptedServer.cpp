#include "ScriptedServer.h"

#include <ws2tcpip.h>

#include <charconv>

namespace norix::test {
namespace {

constexpr int kPollMilliseconds = 20;

bool WaitForRead(SOCKET socket, int milliseconds) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(socket, &set);
    timeval time{0, milliseconds * 1000};
    return select(0, &set, nullptr, nullptr, &time) > 0;
}

Socket Listen(int backlog, std::uint16_t& port) {
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    static_cast<void>(started);
    Socket listener(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    static_cast<void>(bind(listener.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
    listen(listener.Get(), backlog);
    int size = sizeof address;
    getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    return listener;
}

std::size_t ContentLength(std::string_view head) {
    constexpr std::string_view kName = "Content-Length: ";
    const std::size_t at = head.find(kName);
    std::size_t length = 0;
    if (at != head.npos) std::from_chars(head.data() + at + kName.size(), head.data() + head.size(), length);
    return length;
}

}  // namespace

bool Client::WaitReadable() {
    while (!m_ending) {
        if (WaitForRead(m_socket.Get(), kPollMilliseconds)) return true;
    }
    return false;
}

std::string Client::ReadRequest() {
    std::string text;
    char bytes[4096];
    for (;;) {
        const std::size_t end = text.find("\r\n\r\n");
        if (end != text.npos && text.size() >= end + 4 + ContentLength(text)) return text;
        if (!WaitReadable()) return {};
        const int size = recv(m_socket.Get(), bytes, sizeof bytes, 0);
        if (size <= 0) return {};
        text.append(bytes, static_cast<std::size_t>(size));
    }
}

bool Client::Send(std::string_view bytes) {
    while (!bytes.empty() && !m_ending) {
        const int sent = send(m_socket.Get(), bytes.data(), static_cast<int>(bytes.size()), 0);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return bytes.empty();
}

void Client::Drip(std::string_view bytes, int millisecondsEach) {
    while (!bytes.empty() && Send(bytes.substr(0, 1))) {
        bytes.remove_prefix(1);
        for (int waited = 0; waited < millisecondsEach && !m_ending; waited += kPollMilliseconds)
            Sleep(kPollMilliseconds);
    }
}

void Client::WaitForEnd() {
    char byte;
    while (WaitReadable() && recv(m_socket.Get(), &byte, 1, 0) > 0) {
    }
}

ScriptedServer::ScriptedServer(Script script)
    : m_script(std::move(script)), m_listener(Listen(SOMAXCONN, m_port)), m_thread([this] { Serve(); }) {}

ScriptedServer::ScriptedServer(std::string reply)
    : ScriptedServer([reply = std::move(reply)](Client& client, const std::string&) { client.Send(reply); }) {
}

ScriptedServer::~ScriptedServer() {
    m_ending = true;
    m_thread.join();
}

void ScriptedServer::Serve() {
    std::vector<std::thread> threads;
    while (!m_ending) {
        if (!WaitForRead(m_listener.Get(), kPollMilliseconds)) continue;
        threads.emplace_back([this, socket = Socket(accept(m_listener.Get(), nullptr, nullptr))]() mutable {
            Client client(std::move(socket), m_ending);
            const std::string request = client.ReadRequest();
            if (request.empty()) return;
            {
                const std::lock_guard lock(m_mutex);
                m_requests.push_back(request);
            }
            m_script(client, request);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

std::vector<std::string> ScriptedServer::Requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

BlackHole::BlackHole() : m_listener(Listen(1, m_port)) {
    sockaddr_in address{};
    int size = sizeof address;
    getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), &size);
    for (int i = 0; i < 8; ++i) {
        Socket client(socket(AF_INET, SOCK_STREAM, 0));
        u_long on = 1;
        ioctlsocket(client.Get(), FIONBIO, &on);
        static_cast<void>(connect(client.Get(), reinterpret_cast<sockaddr*>(&address), size));
        m_waiting.push_back(std::move(client));
    }
    Sleep(100);  // until they stand in the queue
}

std::string Reply(std::string_view body, std::string_view headers) {
    return "HTTP/1.0 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
           std::string(headers) + "\r\n" + std::string(body);
}

}  // namespace norix::test
