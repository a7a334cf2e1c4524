#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "include/HTTP/FrameDelivery.h"
#include "include/HTTP/HttpStreamRequest.h"
#include "media/CtrlParam.h"
#include "media/MediaPlayers.h"
#include "util/GenericThread.h"
#include "util/Handles.h"

namespace norix {

/// One run of a receiver: what its window thread and its receiving thread share, and what the latter does.
struct StreamSession {
    /// Constant after Begin made it.
    http::FrameDelivery::Kind kind = http::FrameDelivery::Kind::Pictures;
    std::shared_ptr<CCtrlParam> param;
    std::shared_ptr<MediaPlayers> players;  // may be null
    HttpStreamRequest request;
    std::uint32_t bufferSize = 0;
    std::uint32_t stallMs = 0;
    std::uint32_t retryMs = 0;  // not 0: its end is told nobody, and it is asked for again after so long
    std::function<void()>
        onDecided;  // may be null; called after `decided` is signalled, by the receiving thread

    /// Signalled by the receiving thread when it is known whether there is a stream.
    util::Event decided{util::Event::Kind::kManualReset};

    /// Written by the receiving thread before `decided`, read by the window thread after it.
    bool accepted = false;
    bool unauthorized = false;  // the sign-in was refused
    std::string sessionCookie;

    /// The receiving thread's body: everything from the name's lookup to the stream's end. Reports the end of
    /// an accepted stream, unless it was stopped.
    void Run(util::StopToken& stop);

    /// Window thread: from its return on, nothing is reported. Any number of times.
    void Silence();

  private:
    class Receiving;

    void Report();
    void Decide();
    bool ReceiveOnce(util::StopToken& stop);

    std::mutex m_lock;        // never held but for a look and a post, which doesn't block
    bool m_silenced = false;  // guarded by m_lock
};

}  // namespace norix
