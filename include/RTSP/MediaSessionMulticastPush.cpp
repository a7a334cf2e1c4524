#include "include/RTSP/MediaSessionMulticastPush.h"

namespace norix {

MediaSessionMulticastPush* MediaSessionMulticastPush::createNew(UsageEnvironment& env,
                                                                const std::string& description) {
    auto* const session = new MediaSessionMulticastPush(env, description);
    if (session->m_initialized) return session;
    Medium::close(session);
    return nullptr;
}

MediaSessionMulticastPush::MediaSessionMulticastPush(UsageEnvironment& env, const std::string& description)
    : MediaSession(env), m_initialized(initializeWithSDP(description.c_str())) {}

}  // namespace norix
