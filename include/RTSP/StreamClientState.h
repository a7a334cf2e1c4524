#pragma once

#include <memory>

#include "UsageEnvironment.hh"

class MediaSession;
class MediaSubsession;
class MediaSubsessionIterator;

namespace norix {

/// What a client knows of the session it is setting up or playing. Belongs to the client, on its thread; ends
/// the session with itself, so all sinks have to be closed before.
class StreamClientState {
  public:
    StreamClientState() = default;
    virtual ~StreamClientState();
    StreamClientState(const StreamClientState&) = delete;
    StreamClientState& operator=(const StreamClientState&) = delete;

    std::unique_ptr<MediaSubsessionIterator> iterator;
    MediaSession* session = nullptr;  // ended with Medium::close
    MediaSubsession* subsession = nullptr;
    TaskToken streamTimerTask = nullptr;
    double duration = 0.0;  // seconds; 0 = not limited
};

}  // namespace norix
