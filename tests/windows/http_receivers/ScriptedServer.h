#pragma once

// A camera that answers as it is told, on a port of the loopback address.

#include <winsock2.h>

#include <windows.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "util/Handles.h"

namespace http_test {

// What is done on one connection, once the request's head has come: the texts are sent one after the other;
// a text kHold keeps the connection until the other side ends it, a text kPause waits for a moment.
using Script = std::vector<std::string>;
inline const std::string kHold = "<hold>";
inline const std::string kPause = "<pause>";

class ScriptedServer {
  public:
    // One script per connection, in their order.
    explicit ScriptedServer(std::vector<Script> scripts);
    // Ends connections that are held.
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::uint16_t Port() const { return m_port; }
    // The heads so far.
    std::vector<std::string> Requests() const;

  private:
    void Serve(const std::vector<Script>& scripts);
    bool AwaitReadable(SOCKET socket);
    void Play(SOCKET socket, const Script& script);

    SOCKET m_listener = INVALID_SOCKET;
    std::uint16_t m_port = 0;
    util::Event m_stop{util::Event::Kind::kManualReset};
    mutable std::mutex m_lock;
    std::vector<std::string> m_requests;  // guarded by m_lock
    std::thread m_thread;
};

}  // namespace http_test
