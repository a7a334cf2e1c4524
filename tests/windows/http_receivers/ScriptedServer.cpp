#include "ScriptedServer.h"

#include <stdexcept>

namespace http_test {

ScriptedServer::ScriptedServer(std::vector<Script> scripts) {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) throw std::runtime_error("no sockets");
    m_listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof(address);
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener, plain, length) != 0 || listen(m_listener, 4) != 0 ||
        getsockname(m_listener, plain, &length) != 0) {
        throw std::runtime_error("no port");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this, scripts = std::move(scripts)] { Serve(scripts); });
}

ScriptedServer::~ScriptedServer() {
    m_stop.Set();
    m_thread.join();
    closesocket(m_listener);
    WSACleanup();
}

std::vector<std::string> ScriptedServer::Requests() const {
    const std::lock_guard<std::mutex> lock(m_lock);
    return m_requests;
}

// False when the server is to end.
bool ScriptedServer::AwaitReadable(SOCKET socket) {
    while (!m_stop.Wait(0)) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(socket, &set);
        timeval moment = {0, 10'000};
        if (select(0, &set, nullptr, nullptr, &moment) > 0) return true;
    }
    return false;
}

void ScriptedServer::Serve(const std::vector<Script>& scripts) {
    for (const Script& script : scripts) {
        if (!AwaitReadable(m_listener)) return;
        const SOCKET connection = accept(m_listener, nullptr, nullptr);
        Play(connection, script);
        shutdown(connection, SD_SEND);
        closesocket(connection);
    }
}

void ScriptedServer::Play(SOCKET socket, const Script& script) {
    std::string request;
    char buffer[2048];
    while (!request.ends_with("\r\n\r\n")) {
        if (!AwaitReadable(socket)) return;
        const int count = recv(socket, buffer, sizeof(buffer), 0);
        if (count <= 0) return;
        request.append(buffer, static_cast<std::size_t>(count));
    }
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_requests.push_back(request);
    }
    for (const std::string& text : script) {
        if (text == kHold) {
            while (AwaitReadable(socket) && recv(socket, buffer, sizeof(buffer), 0) > 0) {
            }
        } else if (text == kPause) {
            constexpr DWORD kMoment = 30;
            m_stop.Wait(kMoment);
        } else {
            send(socket, text.data(), static_cast<int>(text.size()), 0);
        }
    }
}

}  // namespace http_test
