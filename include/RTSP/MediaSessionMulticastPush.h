#pragma once

#include "liveMedia.hh"

namespace norix {

class CCtrlParam;

/// A session that no server describes: its groups, ports and codec are the parameter block's. Ended with
/// Medium::close.
class MediaSessionMulticastPush : public MediaSession {
  public:
    /// NULL, with the reason in the environment, when the parameters make no description.
    static MediaSessionMulticastPush* createNew(UsageEnvironment& env, CCtrlParam& param);

  protected:
    MediaSessionMulticastPush(UsageEnvironment& env, CCtrlParam& param);
    ~MediaSessionMulticastPush() override = default;

  private:
    CCtrlParam& m_param;  // outlives the session
    bool m_initialized;
};

}  // namespace norix
