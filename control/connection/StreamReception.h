#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "include/RTSP/SessionSettings.h"
#include "media/CtrlParam.h"

#include "protocol/HostRoute.h"

namespace norix {

class CDecoder;

/// Where a camera's streams over HTTP are. Empty paths are not received. UTF-8.
struct HttpSource {
    std::string host;
    std::string connectTo;  // a numeric address that was checked for the host; empty: the host itself
    std::uint16_t port = 80;
    std::string user;
    std::string password;
    std::string videoPath;
    std::string audioPath;
    protocol::HostRoute route;  // where redirections may lead; `connectTo` is its answer for `host`
    unsigned timeoutMs = 5000;  // for the answer to the first request
};

/// The receivers of one connection, over RTSP or over HTTP, and the players that they feed. One per
/// connection. Window thread, unless something else is said. What becomes of the streams is reported to the
/// control's window.
class StreamReception {
  public:
    virtual ~StreamReception() = default;

    /// Starts the session's thread; false when there can be none.
    virtual bool StartRtsp(SessionSettings source) = 0;

    /// Asks for the pictures, or for the sound where only that is wanted, and returns at once; `decided` is
    /// called by another thread when the answer is there. False when nothing could be started.
    virtual bool BeginHttp(const HttpSource& source, std::function<void()> decided) = 0;
    enum class Answer {
        Streaming,  ///< and sound is asked for beside the pictures, as often as it takes
        Refused,    ///< another sign-in is wanted
        Failed,
    };
    /// After `decided`.
    virtual Answer TakeHttpAnswer() = 0;

    /// The decoder, once pictures have been announced; shared, or none.
    virtual std::shared_ptr<CDecoder> Decoder() const = 0;

    /// Ends showing pictures without waiting for any thread.
    virtual void StopOutput() = 0;

    /// Tells all threads to end without waiting for any. From its beginning on nothing is reported.
    virtual void BeginStop() = 0;
    /// Ends and waits for all threads, by the stop rule; any one thread, the object is handed over to it.
    /// False when one had to be abandoned.
    virtual bool Stop() = 0;

    /// The parameter block as this connection shares it: everything of the connection that can still touch
    /// the block keeps this pointer alive, and nothing else does.
    virtual std::weak_ptr<const void> Users() const = 0;
};

}  // namespace norix
