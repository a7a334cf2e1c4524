#pragma once

#include <winsock2.h>

#include <windows.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "util/Handles.h"

// A server on one address of this machine that answers each request as it is told, whether it is of HTTP or
// of RTSP, and remembers what it was asked. The beginning of a TLS handshake counts as a request, too.
class WebServer {
  public:
    using Answer = std::function<std::string(const std::string& request)>;
    using Stream = std::function<std::string()>;

    // Port 0: any that is free. `stream`: what follows a PLAY, piece by piece, until the client goes.
    WebServer(const char* address, std::uint16_t port, Answer answer, Stream stream = {});
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    std::uint16_t Port() const { return port_; }
    // The requests since the last time.
    std::vector<std::string> Take();
    bool WasAsked();  // since then

  private:
    bool AwaitReadable(SOCKET socket);
    void Serve();
    bool ReadRequest(SOCKET socket, std::string& request);

    const Answer answer_;
    const Stream stream_;
    bool playing_ = false;  // its thread's
    SOCKET listener_ = INVALID_SOCKET;
    std::uint16_t port_ = 0;
    util::Event stop_{util::Event::Kind::kManualReset};
    std::mutex lock_;
    std::vector<std::string> requests_;  // guarded by lock_
    std::thread thread_;
};

// What a server says that wants to know who asks.
std::string Challenge(const std::string& request);
std::string RtspReply(const std::string& request,
                      const std::string& media);  // of a server with these streams
std::string HttpReply(const std::string& status, const std::string& headers, const std::string& body);
// To an RTSP request.
std::string RtspReply(const std::string& request, const std::string& status, const std::string& headers,
                      const std::string& body = {});
