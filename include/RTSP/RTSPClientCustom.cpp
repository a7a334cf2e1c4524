#include "include/RTSP/RTSPClientCustom.h"

#include <algorithm>
#include <cstring>

#include "include/RTSP/DummySink.h"
#include "include/RTSP/RTSPSession.h"
#include "net/Failure.h"
#include "util/Log.h"

namespace norix {

RTSPClientCustom* RTSPClientCustom::createNew(RTSPSession& owner, UsageEnvironment& env, char const* rtspURL,
                                              int verbosityLevel, char const* applicationName,
                                              portNumBits tunnelOverHTTPPortNum) {
    return new RTSPClientCustom(owner, env, rtspURL, verbosityLevel, applicationName, tunnelOverHTTPPortNum);
}

RTSPClientCustom::RTSPClientCustom(RTSPSession& owner, UsageEnvironment& env, char const* rtspURL,
                                   int verbosityLevel, char const* applicationName,
                                   portNumBits tunnelOverHTTPPortNum)
    : RTSPClient(env, rtspURL, verbosityLevel, applicationName, tunnelOverHTTPPortNum, -1),
      m_owner(owner),
      m_sinceKeyFrameRequest(owner.Periods().keyFrameRequest),
      m_keyFrameInterval(owner.Periods().keyFrameRequest),
      m_keepAlivePeriod(owner.Periods().keepAlive) {}

RTSPClientCustom::~RTSPClientCustom() {
    TaskScheduler& scheduler = envir().taskScheduler();
    scheduler.unscheduleDelayedTask(m_keepAliveTask);
    scheduler.unscheduleDelayedTask(m_connectCheckTask);
    scheduler.unscheduleDelayedTask(m_disconnectCheckTask);
    scheduler.unscheduleDelayedTask(m_nextTryTask);
    scheduler.unscheduleDelayedTask(m_keyFrameTask);
}

void RTSPClientCustom::startNextTry() {
    if (!m_connectCheckTask) return;  // the failure has been reported
    m_nextTryTask = envir().taskScheduler().scheduleDelayedTask(
        m_owner.Periods().nextTry,
        [](void* self) {
            auto& client = *static_cast<RTSPClientCustom*>(self);
            client.m_nextTryTask = nullptr;
            client.m_owner.SendOptions(client);
        },
        this);
}

void RTSPClientCustom::startKeyFrameRequests() {
    m_keyFrameTask = envir().taskScheduler().scheduleDelayedTask(
        m_owner.Periods().keyFrameCheck,
        [](void* self) { static_cast<RTSPClientCustom*>(self)->checkKeyFrameWish(); }, this);
}

void RTSPClientCustom::checkKeyFrameWish() {
    constexpr std::int64_t kSeldom = 30;  // times the period: a camera that does not listen
    const SessionPeriods& periods = m_owner.Periods();
    m_keyFrameTask = nullptr;
    m_sinceKeyFrameRequest += periods.keyFrameCheck;
    if (m_sinceKeyFrameRequest >= m_keyFrameInterval && m_owner.AskForKeyFrame()) {
        const bool again = m_sinceKeyFrameRequest < 2 * m_keyFrameInterval;
        m_keyFrameInterval = again ? std::min(2 * m_keyFrameInterval, kSeldom * periods.keyFrameRequest)
                                   : periods.keyFrameRequest;
        m_sinceKeyFrameRequest = 0;
    }
    startKeyFrameRequests();
}

void RTSPClientCustom::startConnectCheck() {
    m_connectCheckTask = envir().taskScheduler().scheduleDelayedTask(
        m_owner.Periods().connectCheck,
        [](void* self) { static_cast<RTSPClientCustom*>(self)->checkConnectHandler(); }, this);
}

void RTSPClientCustom::stopConnectCheck() {
    envir().taskScheduler().unscheduleDelayedTask(m_connectCheckTask);
}

void RTSPClientCustom::checkConnectHandler() {
    m_connectCheckTask = nullptr;
    NORIX_LOG("RTSPClientCustom::checkConnectHandler", 0,
              "RTSPClientCustom::checkConnectHandler() connect failed.");
    m_owner.NoteLateness();
    m_owner.ReportStatus(ecsConnectFail);
}

void RTSPClientCustom::startDisconnectCheck() {
    m_disconnectCheckTask = envir().taskScheduler().scheduleDelayedTask(
        m_owner.Periods().disconnectCheck,
        [](void* self) { static_cast<RTSPClientCustom*>(self)->checkDisconnectHandler(); }, this);
}

void RTSPClientCustom::checkDisconnectHandler() {
    m_disconnectCheckTask = nullptr;
    if (isStillConnected()) {
        startDisconnectCheck();
    } else {
        m_owner.NoteFailure(net::kSilent);
        m_owner.ReportStatus(ecsConnectFail);
    }
}

bool RTSPClientCustom::isStillConnected() {
    if (!state.session) return true;
    MediaSubsessionIterator subsessions(*state.session);
    while (MediaSubsession* const subsession = subsessions.next()) {
        char const* const medium = subsession->mediumName();
        if (std::strcmp(medium, "video") != 0 && std::strcmp(medium, "audio") != 0) continue;
        auto* const sink = static_cast<DummySink*>(subsession->sink);
        if (!sink) continue;
        sink->LogLink();
        NORIX_LOG("RTSPClientCustom::checkDisconnectHandler", 0,
                  "RTSPClientCustom::checkDisconnectHandler(%s) isConnected() = %d", medium,
                  sink->isConnected());
        if (!sink->isConnected()) {
            NORIX_LOG("RTSPClientCustom::SetConnectStatus", 0,
                      "RTSPClientCustom::SetConnectStatus(%s) connect failed", medium);
            return false;
        }
        sink->setConnected(0);
    }
    return true;
}

void RTSPClientCustom::startKeepAlive() {
    // Over the RTSP connection the stream itself keeps the session alive; pushed streams have none.
    switch (m_owner.Protocol()) {
        case ecpTCP:
        case ecpHTTP:
        case ecpMulticastPush:
            return;
        default:
            break;
    }
    constexpr std::int64_t kMicroseconds = 1'000'000;
    // Half of the session's time: then one keep-alive may get lost.
    if (const std::int64_t timeout = sessionTimeoutParameter(); timeout != 0)
        m_keepAlivePeriod = timeout * kMicroseconds / 2;
    m_keepAliveTask = envir().taskScheduler().scheduleDelayedTask(
        m_keepAlivePeriod, [](void* self) { static_cast<RTSPClientCustom*>(self)->keepAliveHandler(); },
        this);
}

void RTSPClientCustom::keepAliveHandler() {
    m_keepAliveTask = nullptr;
    sendOptionsCommand(nullptr);
    if (state.session && optionsReply.find("GET_PARAMETER") != std::string::npos)
        sendGetParameterCommand(*state.session, nullptr, nullptr);
    startKeepAlive();
}

}  // namespace norix
