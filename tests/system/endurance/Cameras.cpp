#include <winsock2.h>

#include "tests/system/endurance/Cameras.h"

#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace cameras {
namespace {

// Set by run.py: the port of loopback at which it takes orders.
constexpr char kOrderPort[] = "NORIX_CAMERA_ORDERS";

class Connection {
  public:
    Connection() {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        socket_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<u_short>(std::atoi(std::getenv(kOrderPort))));
        if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("run.py takes no orders");
    }
    ~Connection() {
        closesocket(socket_);
        WSACleanup();
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::string Ask(const std::string& order) {
        const std::string line = order + "\n";
        send(socket_, line.data(), static_cast<int>(line.size()), 0);
        std::string reply;
        char piece[200];
        for (int count = 0; (count = recv(socket_, piece, sizeof piece, 0)) > 0;)
            reply.append(piece, static_cast<std::size_t>(count));
        if (reply.empty() || reply.starts_with("error"))
            throw std::runtime_error("run.py can't " + order + ": " + reply);
        return reply;
    }

  private:
    SOCKET socket_;
};

}  // namespace

bool Available() {
    return std::getenv(kOrderPort) != nullptr;
}

Address Of(const std::string& name) {
    std::istringstream reply(Connection().Ask("address " + name));
    Address address;
    reply >> address.http >> address.rtsp;
    return address;
}

void Kill(const std::string& name) {
    Connection().Ask("kill " + name);
}

void Restart(const std::string& name) {
    Connection().Ask("restart " + name);
}

bool IsThere(const std::string& name) {
    return Connection().Ask("there " + name) == "yes";
}

void Freeze(const std::string& name) {
    Connection().Ask("freeze " + name);
}

void Thaw(const std::string& name) {
    Connection().Ask("thaw " + name);
}

}  // namespace cameras
