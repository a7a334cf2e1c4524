#include "live/rtsp/RTSPClient.h"

#include <utility>

#include "live/rtsp/Engine.h"

unsigned RTSPClient::responseBufferSize = 64 * 1024;

RTSPClient* RTSPClient::createNew(UsageEnvironment& env, char const* rtspURL, int verbosityLevel,
                                  char const* applicationName, portNumBits tunnelOverHTTPPortNum,
                                  int socketNumToServer) {
    return new RTSPClient(env, rtspURL, verbosityLevel, applicationName, tunnelOverHTTPPortNum,
                          socketNumToServer);
}

RTSPClient::RTSPClient(UsageEnvironment& env, char const* rtspURL, int, char const* applicationName,
                       portNumBits tunnelOverHTTPPortNum, int socketNumToServer)
    : Medium(env),
      m_engine(std::make_unique<Engine>(*this, rtspURL ? rtspURL : "", applicationName ? applicationName : "",
                                        tunnelOverHTTPPortNum, socketNumToServer)) {}

RTSPClient::~RTSPClient() = default;

unsigned RTSPClient::sendOptionsCommand(responseHandler* handler, Authenticator* authenticator) {
    return m_engine->options(handler, authenticator);
}

unsigned RTSPClient::sendDescribeCommand(responseHandler* handler, Authenticator* authenticator) {
    return m_engine->describe(handler, authenticator);
}

unsigned RTSPClient::sendSetupCommand(MediaSubsession& subsession, responseHandler* handler, Boolean,
                                      Boolean streamUsingTCP, Boolean forceMulticastOnUnspecified,
                                      Authenticator* authenticator) {
    return m_engine->setup(subsession, handler, streamUsingTCP, forceMulticastOnUnspecified, authenticator);
}

unsigned RTSPClient::sendPlayCommand(MediaSession& session, responseHandler* handler, double start,
                                     double end, float scale, Authenticator* authenticator) {
    return m_engine->play(session, handler, live::rtsp::nptRange(start, end), scale, authenticator);
}

unsigned RTSPClient::sendPlayCommand(MediaSession& session, responseHandler* handler,
                                     char const* absStartTime, char const* absEndTime, float scale,
                                     Authenticator* authenticator) {
    return m_engine->play(session, handler, live::rtsp::clockRange(absStartTime, absEndTime), scale,
                          authenticator);
}

unsigned RTSPClient::sendGetParameterCommand(MediaSession& session, responseHandler* handler,
                                             char const* parameterName, Authenticator* authenticator) {
    return m_engine->getParameter(session, handler, parameterName ? parameterName : "", authenticator);
}

unsigned RTSPClient::sendTeardownCommand(MediaSession& session, responseHandler* handler,
                                         Authenticator* authenticator) {
    return m_engine->teardown(session, handler, authenticator);
}

void RTSPClient::setRoute(protocol::HostRoute route) {
    m_engine->setRoute(std::move(route));
}

unsigned RTSPClient::sessionTimeoutParameter() const {
    return m_engine->sessionTimeout();
}
int RTSPClient::socketNum() const {
    return m_engine->socketNum();
}
char const* RTSPClient::url() const {
    return m_engine->baseUrl().c_str();
}
