#pragma once

// A network for fuzz targets, in place of the system's calls: connections lead to a server that the target
// plays, datagrams and groups to nobody, and time passes only while somebody waits for it. What stands above
// is the real thing, and nothing leaves the process.

#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz {

class Server {
  public:
    /// What came over the connection, in pieces as they were sent.
    virtual void OnBytes(int connection, std::string_view bytes) = 0;
    /// Everybody waits. The time that passes then, in milliseconds.
    virtual int OnIdle() = 0;

  protected:
    ~Server() = default;
};

/// Connections are to this server from now on: numbers from 0. It sees none of those before.
void SetServer(Server* server);
int Connections();
/// "address:port", as it was connected to.
const std::string& AddressOf(int connection);
void Send(int connection, std::string_view bytes);
void Close(int connection);

/// Since SetServer.
std::int64_t Milliseconds();
int Datagrams();

}  // namespace fuzz
