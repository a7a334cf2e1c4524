#include "control/connection/Connection.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <utility>

#include "camera/FrameRateIndex.h"
#include "control/connection/StreamAddress.h"
#include "media/MediaPlatform.h"
#include "net/Failure.h"
#include "net/KnownServers.h"
#include "protocol/Url.h"
#include "util/Log.h"
#include "util/Redact.h"
#include "util/StopRule.h"
#include "util/TimeDiff.h"

namespace norix {

namespace {

constexpr unsigned kSecondMs = 1000;
constexpr unsigned kReportsMs = 500;
constexpr unsigned kLookUpMs = 50;
/// Beyond all limits that a conversation with a camera keeps by itself.
constexpr unsigned kStepLimitMs = 20000;

/// 0 or less: not known.
void SetServerFrameRate(CCtrlParam& param, std::int32_t framesPerSecond) {
    param.serverFrameRate.Set(std::max(framesPerSecond, 0));
    param.frameRate.Set(framesPerSecond > 0 ? framesPerSecond : kDefaultFrameRate);
}

}  // namespace

Connection::Connection(ConnectionHost& host, ConnectionMeans& means, CameraLink& camera,
                       std::shared_ptr<SessionContext> session)
    : m_host(host),
      m_means(means),
      m_camera(camera),
      m_session(std::move(session)),
      m_display(m_host, *m_session) {}
Connection::~Connection() = default;

// ---- Connecting

long Connection::Connect() {
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "CNorixSDKCtrl::Connect(%s) begins",
              m_host.Settings().serverIP.c_str());
    const util::CTimeDiff timing("CNorixSDKCtrl::Connect()");
    // A window that was destroyed again leaves nowhere to report to.
    if (!m_host.WaitForWindow() || !m_host.HasWindow() || !Begin()) return -1;
    const unsigned number = m_attempts;
    m_hostWaits = true;
    Start();
    WorkOn(number);
    if (m_attempts == number) m_hostWaits = false;
    // While a step is waited for, messages are answered: the host may have ended the attempt, and begun
    // another.
    return IsCurrent(number) ? m_attempt.result.value_or(-1) : -1;
}

/// Waits for one step after the other.
void Connection::WorkOn(unsigned number) {
    while (IsCurrent(number) && !m_attempt.result && m_attempt.step != 0) {
        const unsigned step = m_attempt.step;
        const std::shared_ptr<StepSignal> signal = m_attempt.signal;
        const bool done = m_means.Await(*signal, kStepLimitMs);
        if (!IsCurrent(number)) return;
        if (!done) return Fail(ecsConnectFail, net::kNoAnswer);
        OnStepDone(step);
    }
}

void Connection::ConnectInBackground() {
    if (!m_host.HasWindow()) return;
    // Nobody waits here for a name server: who has to be looked up first is, and this comes again.
    if (!m_active && m_host.LooksUp(NamedHosts()))
        return m_host.StartTimer(ConnectionTimer::Reconnect, kLookUpMs);
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "CNorixSDKCtrl::Connect(%s) begins",
              m_host.Settings().serverIP.c_str());
    if (!Begin()) return;
    m_hostWaits = false;
    Start();
}

/// Takes the connection's place and tells the host; false when there is one already, or the host has ended
/// it.
bool Connection::Begin() {
    // Also while a connection is there: the timer would tick for as long as that lasts.
    m_host.StopTimer(ConnectionTimer::AutoConnect);
    if (m_active || m_disconnecting) return false;
    m_active = true;
    m_failed = false;
    m_refused = false;
    m_onvifDenied = false;
    m_attempt = {};
    const unsigned number = ++m_attempts;
    m_host.StopTimer(ConnectionTimer::Reconnect);
    m_host.StartTimer(ConnectionTimer::Reports, kReportsMs);
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "OnConnectStatus(eConnecting)");
    HandleStatus(ecsConnecting);
    // Inside the event the host may have disconnected, even connected again.
    return IsCurrent(number);
}

void Connection::Start() {
    const UserChoices choices = m_host.ReadUserChoices();
    LocateCamera();
    const ConnectionSettings settings = m_host.Settings();
    m_attempt.protocol = ChooseProtocol(settings.videoProtocol, choices.protocol);
    m_attempt.media = ChooseMedia(settings.mediaType);
    m_attempt.selection = {settings.channel, settings.stream, PreferredCodec(choices.video)};
    m_attempt.codecChosen = IsPreference(choices.video);
    const unsigned number = m_attempts;
    const bool allowed = MayReachAll();
    // The user may have been asked, and the host may have ended the attempt meanwhile.
    if (!IsCurrent(number)) return;
    if (!allowed) {
        const bool undecided = m_host.IsUserAsked();
        Fail(ecsConnectFail, m_host.WhyNotReached());
        // Another view of the page has put the question: its answer counts for this one.
        if (undecided && !m_active && m_status == ecsConnectFail && m_host.HasWindow())
            m_host.StartTimer(ConnectionTimer::Reconnect, kSecondMs);
        return;
    }

    const bool push = settings.onPage && m_attempt.protocol == ecpMulticastPush;
    if (push) return StartStream();
    if (Ask()) return;
    StartStream();
}

/// Whom the properties name.
std::vector<std::string> Connection::NamedHosts() const {
    const ConnectionSettings settings = m_host.Settings();
    std::vector<std::string> hosts;
    if (!settings.serverIP.empty()) hosts.push_back(settings.serverIP);
    for (const std::string& address : {settings.streamUri, settings.mediaServiceUri})
        if (const auto url = protocol::parseUrl(address)) hosts.push_back(url->host);
    return hosts;
}

/// Whether the host may reach all that the attempt begins with.
bool Connection::MayReachAll() {
    for (const std::string& named : NamedHosts())
        if (!m_host.MayReach(named)) return false;
    if (m_attempt.protocol == ecpMulticastPush) return MayReach(m_session->param.multicast.Get());
    return m_attempt.protocol != ecpMulticast || m_host.MayReachGroups();
}

bool Connection::MayReach(const MulticastInfo& groups) {
    return std::all_of(groups.streams.begin(), groups.streams.end(), [&](const MulticastAddress& stream) {
        return stream.group.empty() || m_host.MayReach(stream.group);
    });
}

/// An address that the host has set says where the camera is, unless a page does, and perhaps who asks.
void Connection::LocateCamera() {
    const ConnectionSettings settings = m_host.Settings();
    SignIns& who = m_camera.Who();
    who.BeginAttempt();
    who.ForgetFound();
    if (!settings.onPage) {
        if (const auto location = norix::LocateCamera(settings.streamUri, settings.mediaServiceUri)) {
            m_host.SetServerIP(location->host);
            if (location->httpPort) m_host.SetHttpPort(*location->httpPort);
            if (location->httpPort || location->httpsPort) m_camera.AskBy(location->httpsPort);
            BindAddressSignIn(*location);
        }
    }
    if (who.HostSignsIn()) return;
    const util::CTimeDiff timing("CNorixSDKCtrl::GetUserAuthentication()");
    m_camera.SignInFor(m_camera.WebOrigin());
}

/// A sign-in that stands in the address is the camera's, at its web server and its stream.
void Connection::BindAddressSignIn(const CameraLocation& location) {
    SignIns& who = m_camera.Who();
    if (location.user.empty() || who.HostSignsIn()) return;
    SignIn signIn = {location.user, location.password};
    SignIns::Source source = SignIns::Source::kInAddress;
    if (signIn.password.empty()) {
        // The password is left out of addresses that containers save.
        auto saved = m_means.LoadSignIn(location.origin);
        if (saved && saved->user == signIn.user) {
            signIn = std::move(*saved);
            source = SignIns::Source::kFound;
        }
    }
    for (const protocol::Origin& origin : {location.origin, m_camera.WebOrigin()})
        if (!who.IsBound(origin)) who.Bind(origin, signIn, source);
}

/// Who signs in at the stream's server. Where the camera itself has said where its stream is, that is whoever
/// signs in at the camera.
SignIn Connection::StreamSignIn(const protocol::Origin& stream) {
    SignIn signIn = m_camera.SignInFor(stream);
    SignIns& who = m_camera.Who();
    const protocol::Origin web = m_camera.WebOrigin();
    if (m_host.Settings().streamUri.empty()) {
        const bool itsOwn = web.host == stream.host;
        if (itsOwn || !who.IsBound(stream)) net::KnownServers::get().namedBy(stream, web);
        if (itsOwn && signIn.user.empty()) signIn = who.TakeOver(web, stream);
    }
    who.Told(stream, signIn);
    return signIn;
}

/// What a connection was made with is worth keeping; but no page's own sign-ins among the user's.
void Connection::SaveSignIns() {
    const util::CTimeDiff timing("CNorixSDKCtrl::SetUserAuthentication()");
    for (const SignIns::Telling& telling : m_camera.Who().Tellings()) {
        if (telling.signIn.user.empty() || !m_camera.Who().MayKeep(telling.signIn)) continue;
        if (telling.users || m_host.IsTrusted()) m_means.SaveSignIn(telling.origin, telling.signIn);
    }
}

void Connection::NextStep() {
    m_attempt.step = ++m_steps;
    m_attempt.signal = m_means.MakeSignal(m_attempt.step);
}

/// Has a worker ask the camera; true when the stream has to wait for that.
bool Connection::Ask() {
    auto inquiry = m_camera.Prepare(m_attempt.selection, m_attempt.protocol);
    inquiry->codecChosen = m_attempt.codecChosen;
    const auto runBeside = [&](const std::shared_ptr<StepSignal>& signal) {
        return m_means.RunBeside([inquiry, signal] {
            const util::CTimeDiff timing("CNorixSDKCtrl::Connect() SendCGICommand");
            inquiry->Run();
            signal->Done();
        });
    };
    if (inquiry->streamKnown) {
        m_besideStep = ++m_steps;
        m_beside = inquiry;
        m_besideSignal = m_means.MakeSignal(m_besideStep);
        runBeside(m_besideSignal);
        return false;
    }
    NextStep();
    m_attempt.inquiry = inquiry;
    m_attempt.asked = true;
    if (runBeside(m_attempt.signal)) return true;
    m_attempt.step = 0;
    m_attempt.inquiry.reset();
    return false;
}

void Connection::OnStepDone(unsigned step) {
    if (step == m_besideStep && m_beside) {
        const auto inquiry = std::exchange(m_beside, nullptr);
        m_camera.Take(*inquiry);
        if (!m_active || !m_reception) return;
        DescribeStream();
        return m_host.CameraTold();
    }
    if (!m_active || step != m_attempt.step || step == 0) return;
    m_attempt.step = 0;
    if (const auto inquiry = std::exchange(m_attempt.inquiry, nullptr)) {
        TakeInquiry(*inquiry);
        return StartStream();
    }
    if (!m_reception) return;
    switch (m_reception->TakeHttpAnswer()) {
        case StreamReception::Answer::Streaming: {
            const unsigned number = m_attempts;
            NORIX_LOG("CNorixSDKCtrl::Connect", 1, "OnConnectStatus(eConnected)");
            HandleStatus(ecsConnected);
            if (IsCurrent(number)) End(0);
            return;
        }
        case StreamReception::Answer::Refused:
            return Fail(ecsUserAuthenticationFail);
        case StreamReception::Answer::Failed:
            return Fail();
    }
}

void Connection::TakeInquiry(const CameraInquiry& inquiry) {
    m_camera.Take(inquiry);
    m_attempt.selection = inquiry.selection;
    m_attempt.reached = inquiry.outcome.reached;
    m_attempt.silence = inquiry.outcome.failure;
    m_attempt.onvif = inquiry.stream;
    if (m_attempt.onvif) {
        const auto service = protocol::parseUrl(inquiry.onvif.mediaServiceUri);
        m_attempt.onvif->uri =
            ReachableStreamUri(m_attempt.onvif->uri, service ? service->host : inquiry.onvif.host);
    }
    m_refused = inquiry.outcome.unauthorized;
    m_onvifDenied = inquiry.onvifDenied;
}

/// Whether no thread of an earlier connection uses the parameter block any more; waits for those that are
/// about to end, where that is allowed.
bool Connection::AwaitParam(bool wait) {
    constexpr std::uint32_t kStepMs = 10;
    constexpr std::uint32_t kLimitMs = util::kStopWaitMs * (util::kStopAttempts + 1);
    const unsigned number = m_attempts;
    for (;;) {
        std::erase_if(m_leaving, [](const Leaving& leaving) { return leaving.users.expired(); });
        if (m_leaving.empty()) return true;
        const std::uint32_t now = platform::TimerMs();
        const bool hopeless = std::any_of(m_leaving.begin(), m_leaving.end(), [&](const Leaving& leaving) {
            return leaving.abandoned || now - leaving.sinceMs > kLimitMs;
        });
        if (!wait || hopeless) return false;
        platform::AnswerSentMessages(kStepMs);
        if (!IsCurrent(number)) return false;
    }
}

void Connection::StartStream() {
    const unsigned number = m_attempts;
    // Threads that did not end hold on to what they share; another connection must not share it with them.
    if (!AwaitParam(m_hostWaits)) {
        if (!IsCurrent(number)) return;
        NORIX_LOG("CNorixSDKCtrl::Connect", 1, "a thread of the previous connection has not ended yet");
        return Fail(ecsConnectFail, "the connection before has not ended yet");
    }
    Prepare();
    const bool overHttp =
        m_host.Settings().streamUri.empty() && StreamsOverHttp(m_attempt.protocol, m_attempt.selection.codec);
    if (overHttp) {
        // The stream comes from the same server and port that has just not answered.
        if (m_attempt.asked && !m_attempt.reached) return Fail(ecsConnectFail, m_attempt.silence);
        if (!StartHttp() && IsCurrent(number)) Fail();
        return;
    }
    const bool started = StartRtsp();
    if (!IsCurrent(number)) return;
    if (!started) return Fail();
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "CNorixSDKCtrl::Connect(%s) ends",
              m_host.Settings().serverIP.c_str());
    End(0);
}

void Connection::End(long result) {
    m_attempt.result = result;
    m_attempt.step = 0;
}

/// Reports that nothing was started. `reason` is for the user.
void Connection::Fail(EConnectStatus status, const std::string& reason) {
    End(-1);
    if (!reason.empty()) m_attempt.failure = reason;
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "OnConnectStatus(%s)", StatusDisplay::NameOf(status));
    HandleStatus(Interpret(status));
}

/// The parameter block and the players, fresh for the streams to come.
void Connection::Prepare() {
    CCtrlParam& param = m_session->param;
    param.ResetForNewStream();
    param.mediaType.Set(m_attempt.media);
    if (m_attempt.media != MediaType::Audio) param.videoCodec.Set(m_attempt.selection.codec);
    m_session->channel.Set(m_attempt.selection.channel);
    m_session->stream.Set(m_attempt.selection.stream);
    m_session->param.window.TakeUnposted();
    DescribeStream();
    m_reception = m_means.MakeReception();
    m_host.ConnectionBegins();
}

/// Caption and frame rate, as the camera has told them.
void Connection::DescribeStream() {
    CCtrlParam& param = m_session->param;
    const VideoSettings& video = m_camera.Commands().Video();
    SetServerFrameRate(param,
                       FramesPerSecondOfIndex(video.standard, video.frameRateType, video.frameRateLimit)
                           .value_or(video.frameRateLimit));
    const std::string how = ConnectionCaption("", m_attempt.media, m_attempt.protocol);
    param.captionText.Set(video.text + std::wstring(how.begin(), how.end()));
}

/// Streams are not encrypted. Where the camera is asked by HTTPS, its stream does not come in clear behind
/// the user's back. The user may be asked.
bool Connection::MayComeInClear(const std::string& host) {
    const protocol::Origin web = m_camera.WebOrigin();
    const bool asked = web.scheme == "https" && web.host == protocol::plainHost(host);
    if (!asked && !net::KnownServers::get().wantsSecurity(host)) return true;
    const unsigned number = m_attempts;
    switch (m_host.JudgePlainStream(host)) {
        case PlainStream::Silently:
            return IsCurrent(number);
        case PlainStream::Told:
            m_attempt.inClear = true;
            return true;
        case PlainStream::Refused:
            break;
    }
    if (IsCurrent(number)) m_attempt.failure = net::kNotEncrypted;
    return false;
}

bool Connection::StartHttp() {
    if (!MayComeInClear(m_camera.Commands().access.serverIP)) return false;
    const CameraAccess& access = m_camera.Commands().access;
    const std::string query = "?channel=" + std::to_string(m_attempt.selection.channel) +
                              "&stream=" + std::to_string(m_attempt.selection.stream);
    HttpSource source;
    source.host = access.serverIP;
    source.port = static_cast<std::uint16_t>(access.httpPort);
    const SignIn signIn = StreamSignIn(protocol::makeOrigin("http", source.host, source.port));
    source.user = signIn.user;
    source.password = signIn.password;
    source.route = m_host.Route();
    if (source.route) {
        const auto host = source.route(source.host);
        if (!host) return Refuse(net::kMayNotReach);
        source.connectTo = *host;
    }
    if (m_attempt.media != MediaType::Audio) source.videoPath = "/kest-cgi/mjpeg.cgi" + query;
    if (m_attempt.media != MediaType::Video) source.audioPath = "/kest-cgi/pcmu.cgi" + query;
    source.timeoutMs = m_host.Settings().timeoutMs;
    NextStep();
    return m_reception->BeginHttp(source, [signal = m_attempt.signal] { signal->Done(); });
}

/// For the reason why nothing is started.
bool Connection::Refuse(const std::string& reason) {
    m_attempt.failure = reason;
    return false;
}

bool Connection::StartRtsp() {
    const CameraAccess& access = m_camera.Commands().access;
    const bool push = m_attempt.protocol == ecpMulticastPush;
    if (access.serverIP.empty() && !push) return Refuse("no address");
    SessionSettings source;
    source.streamUri = GetStreamUri();
    if (source.streamUri.empty() && !push) return false;
    source.protocol = m_attempt.protocol;
    if (push) {
        // The host may have set others while the camera, or the user, was asked: those that were judged
        // count.
        const unsigned number = m_attempts;
        source.groups = m_session->param.multicast.Get();
        if (!MayReach(source.groups)) return Refuse(m_host.WhyNotReached());
        if (!IsCurrent(number)) return false;
    }
    if (const auto url = protocol::parseUrl(source.streamUri)) {
        const unsigned number = m_attempts;
        if (!m_host.MayReach(url->host)) return Refuse(m_host.WhyNotReached());
        if (!IsCurrent(number) || !MayComeInClear(url->host)) return false;
        const bool tunnelled = m_attempt.protocol == ecpHTTP;
        const SignIn signIn = StreamSignIn(
            tunnelled ? protocol::makeOrigin("http", url->host, static_cast<std::uint16_t>(access.httpPort))
                      : protocol::originOf(*url));
        source.userName = signIn.user;
        source.password = signIn.password;
        if (const protocol::HostRoute route = m_host.Route()) {
            const auto routed = RouteStreamUri(source.streamUri, route);
            if (!routed) return Refuse(net::kMayNotReach);
            source.routedUri = *routed;
            source.route = route;
        }
        // Groups of its own choice are the server's; whether the page may join them is not.
        if (auto rule = m_host.GroupRule()) {
            source.mayJoinGroups = [rule = std::move(rule), session = m_session] {
                const bool may = rule();
                if (!may) session->param.groupsRefused.Set(true);
                return may;
            };
        }
    } else if (!push) {
        return false;
    }
    source.tunnelOverHttpPort = static_cast<unsigned>(access.httpPort);
    constexpr std::int64_t kMicroseconds = 1000;
    source.periods.connectCheck = m_host.Settings().timeoutMs * kMicroseconds;
    source.callback = RTSPCallback;
    source.userData = m_session.get();  // which the session's thread shares with the parameter block
    return m_reception->StartRtsp(std::move(source));
}

/// Where the stream is: what the host says, else what the camera's ONVIF service says, else by the rules of
/// the maker's cameras.
std::string Connection::GetStreamUri() {
    if (m_attempt.protocol == ecpMulticastPush) return {};
    std::string uri = m_host.Settings().streamUri;
    if (uri.empty() && m_attempt.onvif) {
        uri = m_attempt.onvif->uri;
        if (m_attempt.onvif->frameRateLimit != 0) {
            SetServerFrameRate(m_session->param, static_cast<std::int32_t>(m_attempt.onvif->frameRateLimit));
        }
    }
    if (!uri.empty()) {
        NORIX_LOG("CNorixSDKCtrl::OnvifGetStreamUri", 1, "CNorixSDKCtrl::OnvifGetStreamUri(), StreamUri = %s",
                  util::RedactSecrets(uri).c_str());
        return uri;
    }
    const CameraCommands& camera = m_camera.Commands();
    return BuildStreamUri({camera.access.serverIP, m_attempt.protocol, camera.RtspPort(),
                           camera.access.httpPort, m_attempt.selection.channel, m_attempt.selection.stream,
                           m_attempt.selection.codec});
}

// ---- Disconnecting

long Connection::Disconnect() {
    const std::string server = m_host.Settings().serverIP;
    NORIX_LOG("CNorixSDKCtrl::Disconnect", 1, "CNorixSDKCtrl::Disconnect(%s) begins", server.c_str());
    if (!m_host.WaitForWindow() || m_disconnecting) return 0;
    m_host.StopTimer(ConnectionTimer::Reconnect);
    m_host.WithdrawSignIn();
    m_statistics.reconnections = 0;
    m_backOff.Reset();
    // A picture of the next camera is not what was asked for.
    m_session->param.snapshots.Forget();
    if (m_reception) m_reception->StopOutput();
    m_host.EndDigitalPtz();
    FinishDisconnect(Finish::WithNotice);
    NORIX_LOG("CNorixSDKCtrl::Disconnect", 1, "CNorixSDKCtrl::Disconnect(%s) ends", server.c_str());
    return 0;
}

void Connection::FinishDisconnect(Finish how) {
    const util::CTimeDiff timing("CNorixSDKCtrl::FinishDisconnect()");
    m_disconnecting = true;
    m_attempt.step = 0;
    m_attempt.inquiry.reset();
    m_beside.reset();
    m_session->param.Trace().Stop();
    m_host.ConnectionEnds();
    StopReception(how);
    m_host.StopTimer(ConnectionTimer::Reports);
    m_session->param.window.TakeUnposted();
    m_host.DropReports();
    m_averageFrameRate = 0;
    if (how == Finish::WithNotice) m_host.SendDisconnectNotice();
    m_active = false;
    m_disconnecting = false;
    m_host.Redraw();
}

/// Ends all threads of the connection. They may be sending messages to the window, which are answered.
void Connection::StopReception(Finish how) {
    m_session->param.SetClosing(true);
    if (!m_reception) return;
    const std::shared_ptr<StreamReception> reception = std::move(m_reception);
    m_reception.reset();
    Leaving leaving{reception->Users(), platform::TimerMs(), false};
    if (how == Finish::AfterFailure) {
        reception->BeginStop();
        if (m_means.RunBeside([reception] { reception->Stop(); })) {
            m_leaving.push_back(std::move(leaving));
            return;
        }
    }
    leaving.abandoned = !reception->Stop();
    if (leaving.abandoned) m_leaving.push_back(std::move(leaving));
}

void Connection::OnWindowDestroyed() {
    if (m_active && !m_disconnecting) FinishDisconnect(Finish::WithNotice);
}

std::shared_ptr<CDecoder> Connection::Decoder() const {
    return m_reception && !m_failed && !m_disconnecting ? m_reception->Decoder() : nullptr;
}

StreamStatistics Connection::Statistics() const {
    StreamStatistics statistics = m_statistics;
    statistics.connected = m_active && m_status == ecsConnected;
    statistics.codec = m_session->param.videoCodec.Get();
    statistics.width = m_session->param.PictureWidth();
    statistics.height = m_session->param.PictureHeight();
    statistics.protocol = m_attempt.protocol;
    return statistics;
}

VideoCodec Connection::StreamCodec() const {
    return m_reception ? m_session->param.videoCodec.Get() : VideoCodec::None;
}

// ---- Status

/// A camera that refuses to tell where its stream is makes it seem not to be there. That counts only where
/// its stream's server has answered: one that comes late, or not at all, has refused nobody.
EConnectStatus Connection::Interpret(EConnectStatus reported) const {
    if (reported != ecsConnectFail || m_status != ecsConnecting) return reported;
    const bool refused = m_onvifDenied || (m_refused && m_session->param.refusal.Get() != 0);
    return refused ? ecsUserAuthenticationFail : reported;
}

void Connection::OnConnectStatus(EConnectStatus reported) {
    // The end of a connection is told by itself; whatever else comes then is about one that has ended.
    const bool notice = reported == ecsDisconnect;
    if (notice != m_disconnecting) return;
    if (!notice && (!m_active || m_failed)) return;
    HandleStatus(Interpret(reported));
}

void Connection::OnReportsTimer() {
    const unsigned number = m_attempts;
    for (const EConnectStatus report : m_session->param.window.TakeUnposted())
        if (IsCurrent(number)) OnConnectStatus(report);
    if (m_beside && m_besideSignal->IsDone()) OnStepDone(m_besideStep);
    if (IsCurrent(number) && m_attempt.step != 0 && m_attempt.signal->IsDone()) OnStepDone(m_attempt.step);
}

void Connection::HandleStatus(EConnectStatus status) {
    const unsigned number = m_attempts;
    const bool failure = StatusDisplay::IsFailure(status);
    const std::string reason = ReasonOf(status);
    if (status == ecsConnected) {
        m_backOff.Reset();
        m_frameRateMeter.Reset(platform::TimerMs());
        m_statistics.Begin();
        m_host.StartTimer(ConnectionTimer::Statistics, kSecondMs);
    } else if (status == ecsDisconnect || failure) {
        m_host.StopTimer(ConnectionTimer::Statistics);
    }
    if (failure) {
        m_failed = true;
        if (m_reception) m_reception->StopOutput();
    }
    m_display.Show(status, reason);

    if (status == ecsConnected) SaveSignIns();

    m_status = status;
    m_host.FireStatus(status);
    NORIX_LOG("CNorixSDKCtrl::OnConnectStatus", 1, "OnConnectStatus(%d), %s", static_cast<int>(status),
              StatusDisplay::NameOf(status));

    // A host that disconnects inside the event has the last word: no reconnection then.
    if (m_status != status) return;
    if (failure) {
        if (!IsCurrent(number)) return;
        FinishDisconnect(Finish::AfterFailure);
        // Not before: a handler that shows a box would let the user sign in to what has not ended yet.
        if (status == ecsUserAuthenticationFail) m_host.AskForSignIn();
        if (status == ecsConnectFail && m_host.Settings().autoReconnect && m_host.HasWindow())
            m_host.StartTimer(ConnectionTimer::Reconnect, m_backOff.Next(std::random_device()()));
    }
    m_display.Tell(reason);
    if (failure) AskForGroups(status);
}

/// A page's camera has named multicast groups: the user is asked after that, and what he allows is tried.
void Connection::AskForGroups(EConnectStatus failure) {
    if (!m_session->param.groupsRefused.Exchange(false) || m_active || m_status != failure) return;
    if (m_host.MayReachGroups() && !m_active && m_status == failure && m_host.HasWindow())
        m_host.StartTimer(ConnectionTimer::Reconnect, kSecondMs);
}

/// Why there is no stream, for the user; empty where nothing is known, or nothing is wrong.
std::string Connection::ReasonOf(EConnectStatus status) const {
    constexpr unsigned kUnauthorized = 401;
    if (status == ecsUserAuthenticationFail) return net::failureOfStatus(kUnauthorized);
    if (status == ecsConnected && m_attempt.inClear) return net::kNotEncrypted;
    const bool refused = m_session->param.groupsRefused.Get();
    if (status == ecsMulticastError) return refused ? net::kMayNotReach : net::kGroup;
    if (status != ecsConnectFail) return {};
    if (refused) return net::kMayNotReach;
    if (!m_attempt.failure.empty()) return m_attempt.failure;
    return m_reception ? m_session->param.failure.Get() : std::string();
}

// ---- Timers

void Connection::OnAutoConnectTimer() {
    const ConnectionSettings settings = m_host.Settings();
    if (settings.onPage && !settings.clientSettingMode && !m_host.IsUserAsked()) ConnectInBackground();
}

void Connection::OnReconnectTimer() {
    if (m_host.IsUserAsked()) return m_host.StartTimer(ConnectionTimer::Reconnect, kSecondMs);
    m_host.StopTimer(ConnectionTimer::Reconnect);
    if (!m_active) ++m_statistics.reconnections;
    ConnectInBackground();
}

void Connection::OnSignedIn() {
    m_backOff.Reset();
    if (m_host.HasWindow()) m_host.StartTimer(ConnectionTimer::Reconnect, kSecondMs);
}

void Connection::OnStatisticsTimer() {
    CCtrlParam& param = m_session->param;
    m_display.Refresh();
    const int serverFrameRate = param.serverFrameRate.Get();
    const FrameRates rates = m_frameRateMeter.Pass(platform::TimerMs(), param.TakeFrameCounts());
    if (util::Switches().fps) LogFrameRates(rates);

    m_statistics.Pass(rates);
    m_averageFrameRate = static_cast<int>(rates.average);
    if (serverFrameRate > 0) m_averageFrameRate = std::min(m_averageFrameRate, serverFrameRate);
    m_host.ReportFrameRate(m_averageFrameRate);
}

void Connection::LogFrameRates(const FrameRates& rates) const {
    const int serverFrameRate = m_session->param.serverFrameRate.Get();
    const int received = static_cast<int>(rates.received);
    NORIX_LOG("CNorixSDKCtrl::OnTimer", 1,
              "fps(received) = %d, fps(decoded) = %d, fps(displayed) = %d, fps(average) = %d", received,
              static_cast<int>(rates.decoded), static_cast<int>(rates.displayed),
              static_cast<int>(rates.average));
    const int target = static_cast<int>(platform::ReadPtsSettings(serverFrameRate).targetMs);
    if (1000 / target >= received) {
        NORIX_LOG("CNorixSDKCtrl::OnTimer", 1, "fps(received) <= target_fps (%.2f / %d ms)", 1000.0 / target,
                  target);
    }
    if (received < serverFrameRate) {
        NORIX_LOG("CNorixSDKCtrl::OnTimer", 1, "fps(received) <= server_fps (%d)", serverFrameRate);
    }
}

}  // namespace norix
