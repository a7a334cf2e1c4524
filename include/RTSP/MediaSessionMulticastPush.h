#pragma once

#include <string>

#include "liveMedia.hh"

namespace norix {

/// A session that no server describes: PushDescription.h does. Ended with Medium::close.
class MediaSessionMulticastPush : public MediaSession {
  public:
    /// NULL, with the reason in the environment, when that is no description.
    static MediaSessionMulticastPush* createNew(UsageEnvironment& env, const std::string& description);

  protected:
    MediaSessionMulticastPush(UsageEnvironment& env, const std::string& description);
    ~MediaSessionMulticastPush() override = default;

  private:
    bool m_initialized;
};

}  // namespace norix
