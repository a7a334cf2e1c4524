#include "include/RTSP/StreamClientState.h"

#include "liveMedia.hh"

namespace norix {

StreamClientState::~StreamClientState() {
    iterator.reset();
    if (!session) return;
    session->envir().taskScheduler().unscheduleDelayedTask(streamTimerTask);
    Medium::close(session);
}

}  // namespace norix
