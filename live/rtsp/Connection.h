#pragma once

// The byte stream to an RTSP server: one TCP connection, or the pair of HTTP connections of a tunnel. Gives
// out messages, and hands interleaved packets to their receivers.

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "live/env/LifeFlag.h"
#include "live/env/UsageEnvironment.h"
#include "live/rtp/Interleaved.h"
#include "live/rtsp/RtspFramer.h"
#include "net/Lookup.h"
#include "net/SocketHandle.h"

namespace live::rtsp {

class ConnectionUser {
  public:
    virtual void onMessage(const Message& message) = 0;
    /// The connection has ended or could not be made. `error`: of the system, 0 when the server closed or
    /// sent nonsense. `status`: of HTTP, with which it refused a tunnel, else 0.
    virtual void onConnectionLost(int error, unsigned status, const std::string& why) = 0;
    /// A tunnel is being made: the HTTP request's header lines that authorise it, each with its line end.
    virtual std::string tunnelAuthorization(std::string_view method) = 0;
    /// The tunnel's request was refused with 401. True: try once more.
    virtual bool onTunnelChallenge(const Message& reply) = 0;

  protected:
    ~ConnectionUser() = default;
};

struct Endpoint {
    std::string host;            // a name, or an address
    net::SocketAddress address;  // not known: the host's is looked up
    portNumBits port = 0;
    bool tunnel = false;
    std::string tunnelPath;  // of the HTTP requests
    std::string userAgent;
};

class Connection final : public rtp::InterleavedConnection {
  public:
    Connection(UsageEnvironment& env, ConnectionUser& user, std::size_t maxMessage);
    /// Lets what has been sent still reach the server.
    ~Connection();

    /// False, with the reason in the environment, when not even trying is possible.
    bool open(const Endpoint& endpoint);
    void adopt(int connectedSocket);
    void close();
    bool isOpen() const { return m_state != State::Closed; }
    int socketNum() const { return m_input.get(); }
    /// The server's, once it is known.
    const net::SocketAddress& address() const { return m_endpoint.address; }

    /// What can't be sent yet waits, also for the connection to be made. Calls nobody back: a connection that
    /// turns out to be lost is told from the event loop.
    bool send(std::string_view bytes);

    bool sendInterleaved(unsigned channel, rtp::Bytes packet) override;
    bool addReceiver(unsigned channel, rtp::InterleavedReceiver& receiver) override;
    void removeReceiver(rtp::InterleavedReceiver& receiver) override;
    bool hasReceivers() const { return m_receiverCount > 0; }

  private:
    enum class State {
        Closed,
        Resolving,
        Connecting,     // the only connection, or a tunnel's GET
        TunnelWaiting,  // GET is sent
        TunnelPosting,  // the second connection is being made
        Open,
    };
    static void socketReady(void* self, int mask);
    static void outputReady(void* self, int mask);

    bool connectTo(net::SocketHandle& socket, TaskScheduler::BackgroundHandlerProc* handler);
    bool lookUp();
    void awaitLookup();
    void onLookup();
    bool connectInput();
    void onConnected();
    void onTunnelReply(const Message& reply);
    void onPostConnected();
    void becomeOpen();
    void watchInput();
    bool flush();
    void queue(std::string_view bytes);
    void onReadable();
    bool parse();
    void lose(int error, const std::string& why, unsigned status = 0);
    void loseSoon(int error, std::string why, unsigned status = 0);
    void watchOutput();
    unsigned readPostReply();
    void onOutputReadable();
    bool renewPost();
    void endReceivers(bool lost);
    net::SocketHandle& output() { return m_endpoint.tunnel ? m_output : m_input; }
    std::string tunnelRequest(std::string_view method);

    UsageEnvironment& m_env;
    ConnectionUser& m_user;
    LifeFlag m_life;
    Framer m_framer;
    Endpoint m_endpoint;
    State m_state = State::Closed;
    std::shared_ptr<const net::Lookup> m_lookup;  // while resolving
    TaskToken m_lookupTask = nullptr;
    net::SocketHandle m_input;   // both ways without a tunnel
    net::SocketHandle m_output;  // a tunnel's POST
    std::string m_cookie;
    bool m_tunnelRetried = false;
    std::size_t m_posted = 0;  // bytes of the POST's body, sent or waiting to be
    bool m_postEnded = false;  // the server has closed it: the next request opens another one
    std::string m_postReply;   // the beginning of what the server says on it
    struct Loss {
        int error;
        std::string why;
        unsigned status;
    };
    Loss m_loss;  // told by m_lossTask
    TaskToken m_lossTask = nullptr;
    unsigned m_openings = 0;  // tells a handler's connection from one that was opened meanwhile

    std::vector<unsigned char> m_received;
    std::size_t m_begin = 0;  // what has not been looked at
    std::size_t m_end = 0;
    std::size_t m_skipped = 0;     // nonsense since the last packet or message
    unsigned m_interruptions = 0;  // packets amid the message that has not ended yet
    std::string m_unsent;
    std::string m_waiting;  // until the connection is made
    std::string m_packet;
    std::array<rtp::InterleavedReceiver*, 256> m_receivers{};
    unsigned m_receiverCount = 0;
};

}  // namespace live::rtsp
