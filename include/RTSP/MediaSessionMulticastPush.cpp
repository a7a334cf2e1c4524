#include "include/RTSP/MediaSessionMulticastPush.h"

#include "include/RTSP/PushDescription.h"
#include "media/CtrlParam.h"

namespace norix {

MediaSessionMulticastPush* MediaSessionMulticastPush::createNew(UsageEnvironment& env, CCtrlParam& param) {
    auto* const session = new MediaSessionMulticastPush(env, param);
    if (session->m_initialized) return session;
    Medium::close(session);
    return nullptr;
}

MediaSessionMulticastPush::MediaSessionMulticastPush(UsageEnvironment& env, CCtrlParam& param)
    : MediaSession(env),
      m_param(param),
      m_initialized(
          initializeWithSDP(PushDescription(m_param.multicast.Get(), m_param.videoCodec.Get()).c_str())) {}

}  // namespace norix
