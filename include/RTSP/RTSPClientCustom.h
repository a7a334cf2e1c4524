#pragma once

#include <cstdint>
#include <string>

#include "liveMedia.hh"

#include "include/RTSP/StreamClientState.h"

namespace norix {

class RTSPSession;

/// The RTSP client of a session with what belongs to it: the state of the stream, and three timers that watch
/// that it gets and stays connected and that keep the server's session alive. Everything on the session's
/// thread. Ended with Medium::close; outlived by its owner.
class RTSPClientCustom : public RTSPClient {
  public:
    static RTSPClientCustom* createNew(RTSPSession& owner, UsageEnvironment& env, char const* rtspURL,
                                       int verbosityLevel, char const* applicationName,
                                       portNumBits tunnelOverHTTPPortNum);

    RTSPSession& owner() const { return m_owner; }

    /// Reports a failure, once, unless it is stopped in time.
    void startConnectCheck();
    void stopConnectCheck();
    /// Begins once more in a moment, as long as the connection check has not reported a failure.
    void startNextTry();
    /// From now on, each medium that has a sink has to deliver something in each period. Ends with the first
    /// failure it reports.
    void startDisconnectCheck();
    void startKeepAlive();
    /// Whenever somebody wishes a key frame, the owner asks for one: once a second, less often while it keeps
    /// being wished.
    void startKeyFrameRequests();

    StreamClientState state;
    std::string optionsReply;  // the methods that the server says it knows

  protected:
    RTSPClientCustom(RTSPSession& owner, UsageEnvironment& env, char const* rtspURL, int verbosityLevel,
                     char const* applicationName, portNumBits tunnelOverHTTPPortNum);
    ~RTSPClientCustom() override;

  private:
    void checkConnectHandler();
    void checkDisconnectHandler();
    void checkKeyFrameWish();
    void keepAliveHandler();
    bool isStillConnected();

    RTSPSession& m_owner;
    TaskToken m_keepAliveTask = nullptr;
    TaskToken m_connectCheckTask = nullptr;
    TaskToken m_disconnectCheckTask = nullptr;
    TaskToken m_nextTryTask = nullptr;
    TaskToken m_keyFrameTask = nullptr;
    std::int64_t m_sinceKeyFrameRequest = 0;  // microseconds
    std::int64_t m_keyFrameInterval;          // microseconds
    std::int64_t m_keepAlivePeriod;           // microseconds
};

}  // namespace norix
