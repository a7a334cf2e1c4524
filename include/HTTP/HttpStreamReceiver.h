#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "include/HTTP/HttpStreamRequest.h"
#include "media/CtrlParam.h"
#include "media/MediaPlayers.h"
#include "util/GenericThread.h"

namespace norix {

struct StreamSession;

/// What can be tuned, by tests above all.
struct HttpReceiverTiming {
    std::uint32_t stallMs = 5000;  ///< a stream that brings nothing for so long has failed
    std::uint32_t retryMs = 0;  ///< not 0: a stream that can be done without; asked for again after so long
};

/// Receives one of a camera's live streams over HTTP, Motion JPEG or G.711, and puts its frames into the
/// parameter block. Each receiver has a thread of its own, which does all the network's work.
///
/// Threads: belongs to the window thread. The receiving thread shares the parameter block and the players, so
/// whoever makes the receiver hands it shared pointers; a thread that had to be abandoned harms nobody.
///
/// Reports: a stream that the camera has granted and that ends, stalls, isn't media or breaks its protocol
/// posts WM_OnConnectStatus with ecsConnectFail to the parameter block's window, exactly once per Begin. One
/// that it doesn't grant posts nothing. After Stop nothing is posted any more, though a message that was
/// posted before it may still wait in the queue.
class HttpStreamReceiver {
  public:
    enum class Kind { Video, Audio };

    /// Reads the size of the receive buffer from the settings and logs it. `players` may be null.
    HttpStreamReceiver(Kind kind, std::shared_ptr<CCtrlParam> param, std::shared_ptr<MediaPlayers> players,
                       HttpReceiverTiming timing = {});
    /// Stops.
    ~HttpStreamReceiver();
    HttpStreamReceiver(const HttpStreamReceiver&) = delete;
    HttpStreamReceiver& operator=(const HttpStreamReceiver&) = delete;

    /// Begins to ask for the stream and returns at once; false when the receiver runs already or there is no
    /// thread. The answer is known within the request's time limit. `decided`, which may be null, is called
    /// by the receiving thread once the answer is known; it must not wait.
    bool Begin(const HttpStreamRequest& request, std::function<void()> decided);

    enum class Answer { Pending, Streaming, Refused, Failed };
    /// What came of Begin. Refused: the camera wants another sign-in. A stream that was not granted is over.
    Answer TakeAnswer();

    /// Once it is streaming: what ties the audio request to the video stream. The video request carries a
    /// random one; the camera may answer with its own. Empty for none.
    std::string SessionCookie() const { return m_cookie; }

    /// The beginning of Stop: from its return on nothing is reported, and the thread ends soon.
    void RequestStop();

    /// Ends the stream; returns within some 100 ms. While the thread ends, the parameter block is set
    /// closing, because the thread may be waiting in an insert operation; ResetForNewStream undoes that. A
    /// receiver that isn't running is left as it is. False when a thread of it had to be abandoned.
    bool Stop();

  private:
    // Constant after construction.
    const Kind m_kind;
    const std::shared_ptr<CCtrlParam> m_param;
    const std::shared_ptr<MediaPlayers> m_players;
    const HttpReceiverTiming m_timing;
    const std::uint32_t m_bufferSize;  // bytes of the largest frame

    // Window thread.
    std::shared_ptr<StreamSession> m_session;  // shared with the thread
    util::GenericThread m_thread;
    bool m_ended = true;  // each thread so far
    std::string m_cookie;
};

}  // namespace norix
