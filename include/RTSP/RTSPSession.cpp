#include "include/RTSP/RTSPSession.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <string_view>
#include <utility>

#include "liveMedia.hh"

#include "BasicUsageEnvironment.hh"
#include "GroupsockHelper.hh"
#include "include/RTSP/DummySink.h"
#include "include/RTSP/MediaSessionMulticastPush.h"
#include "include/RTSP/PushDescription.h"
#include "include/RTSP/RTSPClientCustom.h"
#include "media/CtrlParam.h"
#include "media/MediaPlayers.h"
#include "net/Failure.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix {
namespace {

constexpr unsigned kSchedulerGranularity = 10'000;  // microseconds
constexpr unsigned kReorderingThreshold = 50'000;   // microseconds
constexpr unsigned kReceiveBuffer = 2'048'000;      // bytes, the system's and the sink's
constexpr int kUnauthorized = 401;
constexpr int kMethodNotAllowed = 405;
constexpr int kNotImplemented = 501;
constexpr char kApplicationName[] = "Norix Media Agent";

struct CloseMedium {
    void operator()(Medium* medium) const { Medium::close(medium); }
};
struct ReclaimEnvironment {
    void operator()(UsageEnvironment* env) const { env->reclaim(); }
};

RTSPClientCustom& Custom(RTSPClient* client) {
    return *static_cast<RTSPClientCustom*>(client);
}

// Takes over what a handler has been given.
std::string TakeText(char* resultString) {
    const std::unique_ptr<char[]> owned(resultString);
    return resultString ? resultString : "";
}

bool IsMedium(const MediaSubsession& subsession, std::string_view medium) {
    return medium == subsession.mediumName();
}

// Only our own implementation tells; with another one such a medium is taken for an unsupported one, or left
// out silently.
template <class Subsession>
bool SocketsRefused(const Subsession& subsession) {
    if constexpr (requires { subsession.socketsRefused(); }) return subsession.socketsRefused();
    return false;
}
template <class Subsession>
bool GroupRefused(const Subsession& subsession) {
    if constexpr (requires { subsession.groupRefused(); }) return subsession.groupRefused();
    return false;
}

// What a server or the system says, as a caption can take it.
std::string Readable(std::string_view text) {
    constexpr std::size_t kMost = 100;
    std::string readable(text.substr(0, kMost));
    std::replace_if(
        readable.begin(), readable.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return readable;
}

bool OverIpv6(const RTSPClient& client) {
    sockaddr_storage local{};
    socklen_t length = sizeof local;
    return ::getsockname(client.socketNum(), reinterpret_cast<sockaddr*>(&local), &length) == 0 &&
           local.ss_family == AF_INET6;
}

// With another implementation, redirections go wherever it lets them.
template <class Client>
void SetRoute(Client& client, const protocol::HostRoute& route) {
    if constexpr (requires { client.setRoute(route); }) client.setRoute(route);
}

// It would look the name up again, and might find another address than the one that was checked.
template <class Client>
const std::string& AddressFor(const SessionSettings& settings) {
    constexpr bool kAsksRoute = requires(Client & client) {
        client.setRoute(settings.route);
    };
    return kAsksRoute || settings.routedUri.empty() ? settings.streamUri : settings.routedUri;
}

template <class Session>
void SetGroupRule(Session& session, const std::function<bool()>& mayJoin) {
    if constexpr (requires { session.setGroupRule(mayJoin); }) session.setGroupRule(mayJoin);
}

constexpr int kVideo = 0;
constexpr int kSound = 1;

// Of which a session shows and plays one each; -1: neither. By the codec, as the sink goes by it; by the
// medium where nothing here plays the codec.
int KindOf(const MediaSubsession& subsession) {
    if (DummySink::IsVideo(subsession.codecName())) return kVideo;
    if (DummySink::IsSound(subsession.codecName())) return kSound;
    return IsMedium(subsession, "video") ? kVideo : IsMedium(subsession, "audio") ? kSound : -1;
}

}  // namespace

RTSPSession::RTSPSession(SessionSettings settings, std::shared_ptr<CCtrlParam> param,
                         std::shared_ptr<MediaPlayers> players)
    : m_settings(std::move(settings)), m_param(std::move(param)), m_players(std::move(players)) {}

void RTSPSession::RequestStop() noexcept {
    m_silenced = true;
    m_stop = 1;
}

void RTSPSession::Report(int code, unsigned value) {
    if (m_settings.callback && !m_silenced && !m_endReported)
        m_settings.callback(code, value, m_settings.userData);
}

bool RTSPSession::AskForKeyFrame() {
    if (!m_param->TakeKeyFrameWish()) return false;
    NORIX_LOG("RTSPCoumm::AskForKeyFrame", 0, "RTSPCoumm::AskForKeyFrame() skipping up to the next one");
    Report(kCallbackForceKeyFrame, 0);
    return true;
}

void RTSPSession::ReportStatus(EConnectStatus status) {
    Report(kCallbackStatus, static_cast<unsigned>(status));
}

void RTSPSession::NoteFailure(const std::string& why) {
    if (!m_silenced && !m_endReported) m_param->failure.Set(why);
}

void RTSPSession::NoteFailure(int resultCode) {
    NoteFailure(resultCode > 0 ? net::failureOfStatus(static_cast<unsigned>(resultCode))
                               : net::failureOfError(-resultCode));
}

void RTSPSession::NoteLateness() {
    if (m_param->failure.Get().empty()) NoteFailure(net::kNoAnswer);
}

void RTSPSession::ReportStatusAndStop(EConnectStatus status) {
    m_stop = 1;
    ReportStatus(status);
    m_endReported = true;
}

int RTSPSession::RTSPStart() noexcept {
    try {
        const std::unique_ptr<TaskScheduler> scheduler(BasicTaskScheduler::createNew(kSchedulerGranularity));
        if (!scheduler) return 0;
        const std::unique_ptr<UsageEnvironment, ReclaimEnvironment> env(
            BasicUsageEnvironment::createNew(*scheduler));
        if (!env) return 0;
        const auto tunnelPort =
            static_cast<portNumBits>(m_settings.protocol == ecpHTTP ? m_settings.tunnelOverHttpPort : 0);
        NORIX_LOG("RTSPCoumm::RTSPStart", 0, "RTSPCoumm::RTSPStart() StreamUri = %s, TunnelOverHTTPPort = %d",
                  util::RedactSecrets(m_settings.streamUri).c_str(), static_cast<int>(tunnelPort));
        const std::unique_ptr<RTSPClientCustom, CloseMedium> client(RTSPClientCustom::createNew(
            *this, *env, AddressFor<RTSPClient>(m_settings).c_str(), 0, kApplicationName, tunnelPort));
        if (!client) return 0;
        SetRoute(static_cast<RTSPClient&>(*client), m_settings.route);
        RunLoop(*env, *client);
        return 1;
    } catch (const std::exception& error) {
        NORIX_LOG("RTSPCoumm::RTSPStart", 1, "RTSPCoumm::RTSPStart() ended by an exception: %s",
                  error.what());
    } catch (...) {
        NORIX_LOG("RTSPCoumm::RTSPStart", 1, "RTSPCoumm::RTSPStart() ended by an exception");
    }
    ReportStatusAndStop(ecsConnectFail);
    return 1;
}

void RTSPSession::RunLoop(UsageEnvironment& env, RTSPClientCustom& client) {
    // Its sinks have to be gone before the client goes, whichever way this ends.
    struct Shutdown {
        RTSPClientCustom& client;
        ~Shutdown() {
            ShutDownStream(client);
            CloseSinks(client);
        }
    } const shutdown{client};
    Authenticator authenticator(m_settings.userName.c_str(), m_settings.password.c_str(), False);
    m_authenticator = &authenticator;
    ReceivingInterfaceAddr = 0;
    if (IsPush()) {
        continueAfterDESCRIBE(&client, 0, nullptr);
    } else {
        client.startConnectCheck();
        SendOptions(client);
    }
    env.taskScheduler().doEventLoop(&m_stop);
    m_authenticator = nullptr;
}

void RTSPSession::SendOptions(RTSPClientCustom& client) {
    client.sendOptionsCommand(continueAfterOPTIONS, m_authenticator);
}

void RTSPSession::ShutDownStream(RTSPClientCustom& client) noexcept try {
    if (!client.state.session) return;
    MediaSubsessionIterator subsessions(*client.state.session);
    bool any = false;
    while (MediaSubsession* const subsession = subsessions.next()) {
        if (!subsession->sink) continue;
        any = true;
        subsession->sink->stopPlaying();
        if (subsession->rtcpInstance()) subsession->rtcpInstance()->setByeHandler(nullptr, nullptr);
    }
    // Nobody waits for the reply.
    if (any && !client.owner().IsPush()) client.sendTeardownCommand(*client.state.session, nullptr);
} catch (const std::exception& error) {
    NORIX_LOG("RTSPCoumm::RTSPStart", 1, "RTSPCoumm::RTSPStart() failed to tear down: %s", error.what());
}

void RTSPSession::CloseSinks(RTSPClientCustom& client) noexcept {
    if (!client.state.session) return;
    MediaSubsessionIterator subsessions(*client.state.session);
    while (MediaSubsession* const subsession = subsessions.next()) {
        Medium::close(subsession->sink);
        subsession->sink = nullptr;
    }
}

void RTSPSession::continueAfterOPTIONS(RTSPClient* client, int resultCode, char* resultString) {
    Custom(client).owner().AfterOptions(Custom(client), resultCode, TakeText(resultString));
}
void RTSPSession::continueAfterDESCRIBE(RTSPClient* client, int resultCode, char* resultString) {
    Custom(client).owner().AfterDescribe(Custom(client), resultCode, TakeText(resultString));
}
void RTSPSession::continueAfterSETUP(RTSPClient* client, int resultCode, char* resultString) {
    Custom(client).owner().AfterSetup(Custom(client), resultCode, TakeText(resultString));
}
void RTSPSession::continueAfterPLAY(RTSPClient* client, int resultCode, char* resultString) {
    Custom(client).owner().AfterPlay(Custom(client), resultCode, TakeText(resultString));
}
void RTSPSession::setupNextSubsession(RTSPClient* client) {
    Custom(client).owner().SetUpNext(Custom(client));
}

void RTSPSession::AfterOptions(RTSPClientCustom& client, int resultCode, const std::string& result) {
    const bool unknownMethod = resultCode == kMethodNotAllowed || resultCode == kNotImplemented;
    if (resultCode != 0 && !unknownMethod) {
        // Else the connection check reports it.
        NORIX_LOG("RTSPCoumm::continueAfterOPTIONS", 0,
                  "RTSPCoumm::continueAfterOPTIONS() Failed to get RTSP options: %s",
                  util::RedactSecrets(result).c_str());
        NoteFailure(resultCode);
        // Told once: asking again with the same credentials locks accounts.
        if (resultCode == kUnauthorized) ReportStatusAndStop(ecsUserAuthenticationFail);
        // A camera that starts up may be there in a moment.
        if (resultCode < 0) client.startNextTry();
        return;
    }
    if (!unknownMethod) client.optionsReply = result;
    NoteFailure(std::string());  // of tries before
    client.sendDescribeCommand(continueAfterDESCRIBE, m_authenticator);
}

void RTSPSession::AfterDescribe(RTSPClientCustom& client, int resultCode, const std::string& result) {
    if (resultCode != 0) {
        NORIX_LOG("RTSPCoumm::continueAfterDESCRIBE", 0,
                  "RTSPCoumm::continueAfterDESCRIBE() Failed to get a SDP description: %s",
                  util::RedactSecrets(result).c_str());
        if (resultCode > 0) m_param->refusal.Set(resultCode);
        NoteFailure(resultCode);
        ReportStatusAndStop(resultCode == kUnauthorized ? ecsUserAuthenticationFail : ecsConnectFail);
        return;
    }
    NORIX_LOG("RTSPCoumm::continueAfterDESCRIBE", 0,
              "RTSPCoumm::continueAfterDESCRIBE() Got a SDP description:\n\n%s",
              util::RedactSecrets(result).c_str());
    StreamClientState& state = client.state;
    UsageEnvironment& env = client.envir();
    if (IsPush()) {
        state.session = MediaSessionMulticastPush::createNew(
            env, PushDescription(m_settings.groups, m_param->videoCodec.Get()));
    } else {
        state.session = MediaSession::createNew(env, result.c_str());
        if (state.session) SetGroupRule(*state.session, m_settings.mayJoinGroups);
    }
    if (!state.session) {
        NORIX_LOG("RTSPCoumm::continueAfterDESCRIBE", 0,
                  "RTSPCoumm::continueAfterDESCRIBE() Failed to create a MediaSession object from the SDP "
                  "description: %s",
                  util::RedactSecrets(env.getResultMsg()).c_str());
        NoteFailure("the stream's description is not understood");
        ReportStatusAndStop(ecsConnectFail);
        return;
    }
    if (!state.session->hasSubsessions()) {
        NORIX_LOG("RTSPCoumm::continueAfterDESCRIBE", 0,
                  "RTSPCoumm::continueAfterDESCRIBE() This session has no media subsessions (i.e., no "
                  "\"m=\" lines)");
        NoteFailure("there is neither picture nor sound");
        ReportStatusAndStop(ecsConnectFail);
        return;
    }
    ChooseReceivingInterface(client);
    state.iterator = std::make_unique<MediaSubsessionIterator>(*state.session);
    SetUpNext(client);
}

void RTSPSession::ChooseReceivingInterface(RTSPClientCustom& client) const {
    if (IsPush()) {
        const std::string text = m_settings.groups.interfaceAddress;
        const auto address = ::inet_addr(text.c_str());
        ReceivingInterfaceAddr = address != INADDR_NONE ? address : 0;
    } else if (m_settings.protocol == ecpMulticast) {
        sockaddr_in local{};
        socklen_t length = sizeof local;
        if (::getsockname(client.socketNum(), reinterpret_cast<sockaddr*>(&local), &length) == 0 &&
            local.sin_family == AF_INET)
            ReceivingInterfaceAddr = local.sin_addr.s_addr;
    }
}

bool RTSPSession::IsWanted(const MediaSubsession& subsession) const {
    switch (m_param->mediaType.Get()) {
        case MediaType::Audio:
            return !IsMedium(subsession, "video");
        case MediaType::Video:
            return !IsMedium(subsession, "audio");
        default:
            return true;
    }
}

void RTSPSession::SetUpNext(RTSPClientCustom& client) {
    StreamClientState& state = client.state;
    while ((state.subsession = state.iterator->next()) != nullptr) {
        MediaSubsession& subsession = *state.subsession;
        if (!IsWanted(subsession)) continue;
        if (HasSinkOfKind(client, subsession)) {
            NORIX_LOG("RTSPCoumm::setupNextSubsession", 0,
                      "RTSPCoumm::setupNextSubsession() Left out the \"%s/%s\" subssesion: there is one of "
                      "its kind already",
                      subsession.mediumName(), subsession.codecName());
            continue;
        }
        if (!Initiate(subsession)) {
            if (GroupRefused(subsession)) {
                NoteGroupRefused(subsession);
            } else if (SocketsRefused(subsession)) {
                NoteFailed(subsession, client.envir().getResultMsg());
            } else {
                NoteUnsupported(subsession);
            }
            continue;
        }
        if (IsPush()) {
            continueAfterSETUP(&client, 0, nullptr);  // comes back to here for the next one
        } else {
            bool overTcp = m_settings.protocol == ecpTCP || m_settings.protocol == ecpHTTP;
            if (m_settings.protocol == ecpUDP && OverIpv6(client)) {
                overTcp = true;
                NORIX_LOG(
                    "RTSPCoumm::setupNextSubsession", 0,
                    "RTSPCoumm::setupNextSubsession() Over IPv6: packets come over the RTSP connection");
            }
            client.sendSetupCommand(subsession, continueAfterSETUP, False, overTcp,
                                    m_settings.protocol == ecpMulticast);
        }
        return;
    }
    if (NothingIsLeft(client)) {
        // The port may come free, and the group be reachable, the next time.
        ReportStatusAndStop(ecsConnectFail);
        return;
    }
    Play(client);
}

void RTSPSession::NoteGroupRefused(const MediaSubsession& subsession) {
    if (KindOf(subsession) < 0 || std::exchange(m_groupRefused, true)) return;
    NORIX_LOG("RTSPCoumm::setupNextSubsession", 0,
              "RTSPCoumm::setupNextSubsession() SetConnectStatus(eMulticastError)");
    NoteFailure(net::kGroup);
    ReportStatus(ecsMulticastError);
}

// Where groups were refused, and nothing else of the session can be received.
bool RTSPSession::NothingIsLeft(const RTSPClientCustom& client) const {
    if (!m_groupRefused) return false;
    MediaSubsessionIterator subsessions(*client.state.session);
    while (const MediaSubsession* const subsession = subsessions.next()) {
        if (subsession->sink) return false;
    }
    return true;
}

bool RTSPSession::HasSinkOfKind(const RTSPClientCustom& client, const MediaSubsession& subsession) const {
    if (KindOf(subsession) < 0) return false;
    MediaSubsessionIterator others(*client.state.session);
    while (const MediaSubsession* const other = others.next()) {
        if (other->sink && KindOf(*other) == KindOf(subsession)) return true;
    }
    return false;
}

void RTSPSession::NoteFailed(const MediaSubsession& subsession, const std::string& why) {
    const int kind = KindOf(subsession);
    if (kind >= 0 && m_failed[kind].empty()) m_failed[kind] = Readable(why);
}

void RTSPSession::NoteUnsupported(const MediaSubsession& subsession) {
    const int kind = KindOf(subsession);
    if (kind < 0) return;
    const std::string_view protocol = subsession.protocolName();
    const std::string_view codec = subsession.codecName();
    std::string name(protocol == "RTP" ? "" : protocol);
    if (!name.empty() && !codec.empty()) name += ' ';
    name += codec;
    if (m_unsupported[kind].empty()) m_unsupported[kind] = Readable(name);
}

// At once and by name, instead of a picture that never comes.
void RTSPSession::TellWhatIsMissing(const RTSPClientCustom& client) {
    bool set[2] = {};
    MediaSubsessionIterator subsessions(*client.state.session);
    while (const MediaSubsession* const subsession = subsessions.next()) {
        if (const int kind = KindOf(*subsession); kind >= 0 && subsession->sink) set[kind] = true;
    }
    std::string problem;
    std::string failures;
    for (const int kind : {kVideo, kSound}) {
        if (set[kind]) continue;
        const std::string name = kind == kVideo ? "video" : "sound";
        if (!m_failed[kind].empty()) {
            failures += (failures.empty() ? "no " : ", no ") + name + ": " + m_failed[kind];
        } else if (!m_unsupported[kind].empty()) {
            problem += (problem.empty() ? "not supported: " : ", ") + name + " " + m_unsupported[kind];
        }
    }
    if (!problem.empty() && !failures.empty()) problem += ", ";
    problem += failures;
    if (!problem.empty()) {
        NORIX_LOG("RTSPCoumm::setupNextSubsession", 0, "RTSPCoumm::setupNextSubsession() %s",
                  problem.c_str());
    }
    if (m_stop != 0) return;
    m_param->streamProblem.Set(problem);
    // What the camera's settings said before is not what comes.
    if (!set[kVideo]) m_param->videoCodec.Set(VideoCodec::None);
    if (!set[kSound]) m_param->audioCodec.Set(AudioCodec::None);
}

bool RTSPSession::Initiate(MediaSubsession& subsession) {
    if (!subsession.initiate(-1)) {
        NORIX_LOG("RTSPCoumm::setupNextSubsession", 0,
                  "RTSPCoumm::setupNextSubsession() Failed to initiate the \"%s/%s\" subssesion: %s",
                  subsession.mediumName(), subsession.codecName(),
                  subsession.parentSession().envir().getResultMsg());
        return false;
    }
    NORIX_LOG("RTSPCoumm::setupNextSubsession", 0,
              "RTSPCoumm::setupNextSubsession() Initiated the \"%s/%s\" subsession (client ports %d-%d)",
              subsession.mediumName(), subsession.codecName(), subsession.clientPortNum(),
              subsession.clientPortNum() + 1);
    if (RTPSource* const source = subsession.rtpSource()) {
        source->setPacketReorderingThresholdTime(kReorderingThreshold);
        UsageEnvironment& env = subsession.parentSession().envir();
        const int socket = source->RTPgs()->socketNum();
        if (getReceiveBufferSize(env, socket) < kReceiveBuffer)
            setReceiveBufferTo(env, socket, kReceiveBuffer);
    }
    return true;
}

void RTSPSession::Play(RTSPClientCustom& client) {
    TellWhatIsMissing(client);
    if (m_players && m_stop == 0) m_players->Start();
    if (IsPush()) {
        continueAfterPLAY(&client, 0, nullptr);
        return;
    }
    MediaSession& session = *client.state.session;
    if (char const* const start = session.absStartTime()) {
        client.sendPlayCommand(session, continueAfterPLAY, start, session.absEndTime(), 1.0f,
                               m_authenticator);
    } else {
        client.state.duration = session.playEndTime() - session.playStartTime();
        client.sendPlayCommand(session, continueAfterPLAY, 0.0, -1.0, 1.0f, m_authenticator);
    }
}

void RTSPSession::AfterSetup(RTSPClientCustom& client, int resultCode, const std::string& result) {
    MediaSubsession& subsession = *client.state.subsession;
    if (resultCode != 0) {
        NORIX_LOG("RTSPCoumm::continueAfterSETUP", 0,
                  "RTSPCoumm::continueAfterSETUP() Failed to set up the \"%s/%s\" subssesion: %s",
                  subsession.mediumName(), subsession.codecName(), util::RedactSecrets(result).c_str());
        if (GroupRefused(subsession)) {
            NoteGroupRefused(subsession);
        } else {
            NoteFailed(subsession, util::RedactSecrets(result));
            NoteFailure(resultCode);
        }
    } else {
        NORIX_LOG("RTSPCoumm::continueAfterSETUP", 0,
                  "RTSPCoumm::continueAfterSETUP() Set up the \"%s/%s\" subsession (client ports %d-%d)",
                  subsession.mediumName(), subsession.codecName(), subsession.clientPortNum(),
                  subsession.clientPortNum() + 1);
        if (m_stop == 0) RecordFormat(subsession);
        StartSink(client, subsession);
    }
    SetUpNext(client);
}

void RTSPSession::RecordFormat(const MediaSubsession& subsession) {
    const std::string_view codec = subsession.codecName();
    const auto is = [codec](std::string_view name) { return name.starts_with(codec); };
    if (is("H264")) {
        m_param->videoCodec.Set(VideoCodec::H264);
    } else if (is("H265")) {
        m_param->videoCodec.Set(VideoCodec::H265);
    } else if (is("MP4V-ES")) {
        m_param->videoCodec.Set(VideoCodec::Mpeg4);
    } else if (is("JPEG")) {
        m_param->videoCodec.Set(VideoCodec::Mjpeg);
    } else if (is("MPEG4-GENERIC")) {
        m_param->audioCodec.Set(AudioCodec::Aac);
    } else if (is("PCMU") || is("PCMA")) {
        m_param->audioCodec.Set(AudioCodec::Pcmu);
    }
    if (KindOf(subsession) == kSound) m_param->audioSampleRate.Set(subsession.rtpTimestampFrequency());
    m_param->streamForm.Set(StreamForm::Bare);
}

void RTSPSession::StartSink(RTSPClientCustom& client, MediaSubsession& subsession) {
    DummySink* const sink =
        DummySink::createNew(client.envir(), subsession, kReceiveBuffer, *m_param, m_stop);
    subsession.sink = sink;
    if (!sink) {
        NORIX_LOG("RTSPCoumm::continueAfterSETUP", 0,
                  "RTSPCoumm::continueAfterSETUP() Failed to create a data sink for the \"%s/%s\" "
                  "subssesion: %s",
                  subsession.mediumName(), subsession.codecName(), client.envir().getResultMsg());
        return;
    }
    NORIX_LOG("RTSPCoumm::continueAfterSETUP", 0,
              "RTSPCoumm::continueAfterSETUP() Created a data sink for the \"%s/%s\" subsession",
              subsession.mediumName(), subsession.codecName());
    subsession.miscPtr = static_cast<RTSPClient*>(&client);
    sink->startPlaying(*subsession.readSource(), subsessionAfterPlaying, &subsession);
    if (subsession.rtcpInstance())
        subsession.rtcpInstance()->setByeHandler(subsessionByeHandler, &subsession);
}

void RTSPSession::AfterPlay(RTSPClientCustom& client, int resultCode, const std::string& result) {
    if (resultCode != 0) {
        NORIX_LOG("RTSPCoumm::continueAfterPLAY", 0,
                  "RTSPCoumm::continueAfterPLAY() Failed to start playing session: %s",
                  util::RedactSecrets(result).c_str());
        // Where nothing could be set up, there is nothing to be played: that is the reason.
        const std::string problem = m_param->streamProblem.Get();
        if (!problem.empty()) {
            NoteFailure(problem);
        } else if (m_param->failure.Get().empty() || resultCode > 0) {
            NoteFailure(resultCode);
        }
        ReportStatusAndStop(ecsConnectFail);
        return;
    }
    NoteFailure(std::string());  // of tries before
    NORIX_LOG("RTSPCoumm::continueAfterPLAY", 0, "RTSPCoumm::continueAfterPLAY() Started playing session");
    StreamClientState& state = client.state;
    if (state.duration > 0) {
        constexpr double kMicroseconds = 1e6;
        constexpr double kLongest = 1e9;  // seconds: for ever, and whatever a server states fits
        state.duration = std::min(state.duration, kLongest) +
                         static_cast<double>(m_settings.periods.durationMargin) / kMicroseconds;
        state.streamTimerTask = client.envir().taskScheduler().scheduleDelayedTask(
            std::llround(state.duration * kMicroseconds), sessionAfterPlaying,
            static_cast<RTSPClient*>(&client));
        NORIX_LOG("RTSPCoumm::continueAfterPLAY", 0,
                  "RTSPCoumm::continueAfterPLAY() Playing session for up to %d seconds.",
                  static_cast<int>(state.duration));
    }
    client.stopConnectCheck();
    if (!IsPush()) client.startDisconnectCheck();
    client.startKeepAlive();
    client.startKeyFrameRequests();
    NORIX_LOG("RTSPCoumm::setupNextSubsession", 0,
              "RTSPCoumm::setupNextSubsession() SetConnectStatus(eConnected)");
    ReportStatus(ecsConnected);
    if (IsPush()) Report(kCallbackForceKeyFrame, 0);
    OnPlaying(client);
}

void RTSPSession::subsessionAfterPlaying(void* clientData) {
    auto* const ended = static_cast<MediaSubsession*>(clientData);
    RTSPClientCustom& client = Custom(static_cast<RTSPClient*>(ended->miscPtr));
    Medium::close(ended->sink);
    ended->sink = nullptr;
    MediaSubsessionIterator subsessions(ended->parentSession());
    while (MediaSubsession* const subsession = subsessions.next()) {
        if (subsession->sink) return;
    }
    client.owner().NoteFailure(net::kStreamEnded);
    client.owner().ReportStatusAndStop(ecsConnectFail);
}

void RTSPSession::subsessionByeHandler(void* clientData) {
    auto* const subsession = static_cast<MediaSubsession*>(clientData);
    NORIX_LOG("RTSPCoumm::subsessionByeHandler", 0,
              "RTSPCoumm::subsessionByeHandler() Received RTCP \"BYE\" on \"%s/%s\".",
              subsession->mediumName(), subsession->codecName());
    RTSPSession& owner = Custom(static_cast<RTSPClient*>(subsession->miscPtr)).owner();
    owner.NoteFailure(net::kStreamEnded);
    owner.ReportStatus(ecsConnectFail);
}

void RTSPSession::sessionAfterPlaying(void* clientData) {
    RTSPClientCustom& client = Custom(static_cast<RTSPClient*>(clientData));
    client.state.streamTimerTask = nullptr;
    client.owner().NoteFailure(net::kStreamEnded);
    client.owner().ReportStatusAndStop(ecsConnectFail);
}

}  // namespace norix
