#pragma once

// The client of one RTSP session. Commands are sent at once and answered through handlers, from the event
// loop.

#include <memory>
#include <string>

#include "live/env/Medium.h"
#include "live/rtsp/Authenticator.h"
#include "protocol/HostRoute.h"

class MediaSession;
class MediaSubsession;

class RTSPClient : public Medium {
  public:
    static RTSPClient* createNew(UsageEnvironment& env, char const* rtspURL, int verbosityLevel = 0,
                                 char const* applicationName = nullptr, portNumBits tunnelOverHTTPPortNum = 0,
                                 int socketNumToServer = -1);

    /// resultCode: 0 success, > 0 the server's status, < 0 a negated system error. resultString: OPTIONS: the
    /// methods, DESCRIBE: the description, GET_PARAMETER: the value; on failure the reason. The handler frees
    /// it with delete[]; it may be NULL.
    using responseHandler = void(RTSPClient* client, int resultCode, char* resultString);

    /// Each returns the request's CSeq. The handler may be NULL. Credentials are kept for later requests.
    unsigned sendOptionsCommand(responseHandler* handler, Authenticator* authenticator = nullptr);
    unsigned sendDescribeCommand(responseHandler* handler, Authenticator* authenticator = nullptr);
    unsigned sendSetupCommand(MediaSubsession& subsession, responseHandler* handler,
                              Boolean streamOutgoing = False, Boolean streamUsingTCP = False,
                              Boolean forceMulticastOnUnspecified = False,
                              Authenticator* authenticator = nullptr);
    /// end < 0: to the end; start < 0: where it was.
    unsigned sendPlayCommand(MediaSession& session, responseHandler* handler, double start = 0.0f,
                             double end = -1.0f, float scale = 1.0f, Authenticator* authenticator = nullptr);
    unsigned sendPlayCommand(MediaSession& session, responseHandler* handler, char const* absStartTime,
                             char const* absEndTime = nullptr, float scale = 1.0f,
                             Authenticator* authenticator = nullptr);
    unsigned sendGetParameterCommand(MediaSession& session, responseHandler* handler,
                                     char const* parameterName, Authenticator* authenticator = nullptr);
    unsigned sendTeardownCommand(MediaSession& session, responseHandler* handler,
                                 Authenticator* authenticator = nullptr);

    /// What to connect to where the address, or a redirection, names a host, and where redirections may lead;
    /// any place without one. Requests name the host all the same. Called from the event loop.
    void setRoute(protocol::HostRoute route);

    /// Seconds, as the server stated them with its session; 0 when it did not.
    unsigned sessionTimeoutParameter() const;
    int socketNum() const;
    /// Without credentials; after DESCRIBE, what relative addresses are relative to.
    char const* url() const;

    /// The longest reply that is accepted, in bytes; read when a client is made.
    static unsigned responseBufferSize;

  protected:
    RTSPClient(UsageEnvironment& env, char const* rtspURL, int verbosityLevel, char const* applicationName,
               portNumBits tunnelOverHTTPPortNum, int socketNumToServer);
    ~RTSPClient() override;

  private:
    class Engine;
    std::unique_ptr<Engine> m_engine;
};
