#include "control/connection/Connection.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "camera/FrameRateIndex.h"
#include "control/DiskSpace.h"
#include "control/Events.h"
#include "control/NorixSDKCtl.h"
#include "control/connection/SavedCredentials.h"
#include "control/connection/StreamAddress.h"
#include "media/ControlMessages.h"
#include "util/Log.h"
#include "util/LogSetup.h"
#include "util/Redact.h"
#include "util/Settings.h"
#include "util/Text.h"
#include "util/TimeDiff.h"

namespace norix {

namespace {

/// How each status shows itself. A null caption leaves the caption and picture as they are.
struct StatusAppearance {
    const char* name;
    const wchar_t* caption;
    bool failure;  // ends the session
};

const StatusAppearance& AppearanceOf(EConnectStatus status) {
    static constexpr StatusAppearance kAppearances[] = {
        {"eConnecting", L"Connecting...", false},
        {"eConnected", L"Connected!", false},
        {"eDisconnect", L"Disconnect!", false},
        {"eConnectFail", L"Connect Fail!", true},
        {"eMulticastError", L"Multicast Conflict!", false},
        {"eUserAuthenticationFail", L"Authentication Fail!", true},
    };
    static constexpr StatusAppearance kUnknown = {"unknown", nullptr, false};
    const auto index = static_cast<std::size_t>(status);
    return index < std::size(kAppearances) ? kAppearances[index] : kUnknown;
}

/// The codec that the user's setting prefers: one of VideoCodec's numbers, or H.264.
VideoCodec PreferredCodec(std::uint32_t videoOption) {
    const auto codec = static_cast<VideoCodec>(videoOption);
    return codec == VideoCodec::Mpeg4 || codec == VideoCodec::Mjpeg ? codec : VideoCodec::H264;
}

/// 0 or less: not known.
void SetServerFrameRate(CCtrlParam& param, std::int32_t framesPerSecond) {
    param.serverFrameRate.Set(std::max(framesPerSecond, 0));
    param.frameRate.Set(framesPerSecond > 0 ? framesPerSecond : kDefaultFrameRate);
}

}  // namespace

Connection::Connection(CNorixSDKCtrl& owner) : m_owner(owner) {}
Connection::~Connection() = default;

// ---- Connecting

long Connection::Connect() {
    const std::string server = util::WideToUtf8(m_owner.Properties().serverIP);
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "CNorixSDKCtrl::Connect(%s) begins", server.c_str());
    const util::CTimeDiff timing("CNorixSDKCtrl::Connect()");
    if (!Begin()) return -1;
    Attempt attempt;
    attempt.number = m_attempts;
    util::ReadLogDetails();
    const util::ClientOptions options = util::ReadClientOptions();
    attempt.protocol = ChooseProtocol(m_owner.Properties().videoProtocol, options.protocol);
    attempt.media = ChooseMedia(m_owner.Properties().mediaType);
    attempt.selection = {m_owner.Properties().chIndex, m_owner.Properties().streamIndex,
                         PreferredCodec(options.video)};

    LocateCamera();
    ReadCamera(attempt);
    // Threads that did not end hold on to what they share; another connection must not share it with them.
    if (!m_abandoned.expired()) {
        NORIX_LOG("CNorixSDKCtrl::Connect", 1, "a thread of the previous connection has not ended yet");
        return Fail();
    }
    Prepare(attempt);
    const bool overHttp = m_owner.Properties().streamUri.empty() && attempt.protocol == ecpHTTP &&
                          attempt.selection.codec == VideoCodec::Mjpeg;
    const bool started = overHttp ? StartHttp(attempt) : StartRtsp(attempt);
    // While a stream is waited for, messages are answered: the host may have ended the attempt.
    if (!IsCurrent(attempt.number)) return -1;
    if (!started) return Fail();
    if (overHttp) {
        NORIX_LOG("CNorixSDKCtrl::Connect", 1, "OnConnectStatus(eConnected)");
        OnConnectStatus(ecsConnected);
        return IsCurrent(attempt.number) ? 0 : -1;
    }
    SaveSignIn();
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "CNorixSDKCtrl::Connect(%s) ends",
              util::WideToUtf8(m_owner.Properties().serverIP).c_str());
    return 0;
}

/// Takes the connection's place and tells the host; false when there is one already, or the host has ended
/// it.
bool Connection::Begin() {
    // A window that was destroyed again leaves nowhere to report to.
    if (!m_owner.WaitForWindowCreation() || !m_owner.HasWindow()) return false;
    // Also while a connection is there: the timer would tick for as long as that lasts.
    KillTimer(m_owner.Handle(), kTimerAutoConnect);
    if (m_active || m_disconnecting) return false;
    m_active = true;
    m_refused = false;
    const unsigned attempt = ++m_attempts;
    KillTimer(m_owner.Handle(), kTimerReconnect);
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "OnConnectStatus(eConnecting)");
    OnConnectStatus(ecsConnecting);
    // Inside the event the host may have disconnected, even connected again.
    return IsCurrent(attempt);
}

/// Reports that nothing was started.
long Connection::Fail() {
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "OnConnectStatus(eConnectFail)");
    OnConnectStatus(ecsConnectFail);
    return -1;
}

/// An address that the host has set says where the camera is, unless a page does, and perhaps who asks.
void Connection::LocateCamera() {
    ControlProperties& properties = m_owner.Properties();
    SignIn signIn;
    if (!m_owner.Page()) {
        const auto location = norix::LocateCamera(util::WideToUtf8(properties.streamUri),
                                                  util::WideToUtf8(properties.mediaServiceUri));
        if (location) {
            properties.serverIP = util::Utf8ToWide(location->host);
            if (location->httpPort) properties.httpPort = *location->httpPort;
            signIn = {util::Utf8ToWide(location->user), util::Utf8ToWide(location->password)};
        }
    }
    if (properties.username.empty() && signIn.user.empty()) {
        const util::CTimeDiff timing("CNorixSDKCtrl::GetUserAuthentication()");
        signIn = SavedCredentials::Load(properties.serverIP).value_or(SignIn());
    }
    m_owner.Camera().SetFallbackSignIn(signIn);
}

void Connection::SaveSignIn() {
    const util::CTimeDiff timing("CNorixSDKCtrl::SetUserAuthentication()");
    const SignIn signIn = m_owner.Camera().CurrentSignIn();
    if (!signIn.user.empty()) SavedCredentials::Save(m_owner.Properties().serverIP, signIn);
}

void Connection::ReadCamera(Attempt& attempt) {
    if (m_owner.Page() && attempt.protocol == ecpMulticastPush) return;
    const util::CTimeDiff timing("CNorixSDKCtrl::Connect() SendCGICommand");
    const CameraCommands::Outcome outcome = m_owner.Camera().ReadCamera(attempt.selection);
    const CameraCommands& camera = m_owner.Camera().Commands();
    const bool known = camera.Codecs() != nullptr;
    m_refused = outcome.unauthorized;
    attempt.askOnvif = !m_owner.Properties().mediaServiceUri.empty() ||
                       (outcome.reached && (!known || camera.System().onvifSupport != 0));
}

/// The parameter block, the caption and the players, fresh for the streams to come.
void Connection::Prepare(const Attempt& attempt) {
    SessionContext& session = m_owner.Session();
    CCtrlParam& param = session.param;
    const VideoSettings& video = m_owner.Camera().Commands().Video();
    param.ResetForNewStream();
    param.mediaType.Set(attempt.media);
    if (attempt.media != MediaType::Audio) param.videoCodec.Set(attempt.selection.codec);
    session.channel.Set(attempt.selection.channel);
    session.stream.Set(attempt.selection.stream);
    SetServerFrameRate(param,
                       FramesPerSecondOfIndex(video.standard, video.frameRateType, video.frameRateLimit)
                           .value_or(video.frameRateLimit));
    param.captionText.Set(video.text +
                          util::Utf8ToWide(ConnectionCaption("", attempt.media, attempt.protocol)));
    m_owner.OpenDeliveries();
    m_reception = std::make_shared<Reception>(m_owner.SharedSession());
    m_reception->Players().SetView(m_owner.CurrentView());
}

bool Connection::StartHttp(const Attempt& attempt) {
    const CameraAccess& access = m_owner.Camera().Commands().access;
    const std::string query = "?channel=" + std::to_string(attempt.selection.channel) +
                              "&stream=" + std::to_string(attempt.selection.stream);
    Reception::HttpSource source;
    source.host = access.serverIP;
    source.port = static_cast<std::uint16_t>(access.httpPort);
    source.user = access.username;
    source.password = access.password;
    if (attempt.media != MediaType::Audio) source.videoPath = "/kest-cgi/mjpeg.cgi" + query;
    if (attempt.media != MediaType::Video) source.audioPath = "/kest-cgi/pcmu.cgi" + query;
    source.timeoutMs = static_cast<unsigned>(m_owner.Properties().connectionTimeout);
    const std::shared_ptr<Reception> reception = m_reception;  // the attempt may be ended meanwhile
    return reception->StartHttp(source);
}

bool Connection::StartRtsp(const Attempt& attempt) {
    const CameraAccess& access = m_owner.Camera().Commands().access;
    if (access.serverIP.empty() && attempt.protocol != ecpMulticastPush) return false;
    Reception::RtspSource source;
    source.uri = GetStreamUri(attempt);
    if (source.uri.empty() && attempt.protocol != ecpMulticastPush) return false;
    source.protocol = attempt.protocol;
    source.user = access.username;
    source.password = access.password;
    source.tunnelPort = static_cast<unsigned>(access.httpPort);
    source.timeoutMs = static_cast<unsigned>(m_owner.Properties().connectionTimeout);
    source.callback = RTSPCallback;
    source.userData = &m_owner;
    return m_reception->StartRtsp(source);
}

/// Where the stream is: what the host says, else what the camera's ONVIF service says, else by the rules of
/// the maker's cameras.
std::string Connection::GetStreamUri(const Attempt& attempt) {
    if (attempt.protocol == ecpMulticastPush) return {};
    std::string uri = util::WideToUtf8(m_owner.Properties().streamUri);
    if (uri.empty() && attempt.askOnvif) {
        if (const auto stream = m_owner.Camera().AskOnvif(attempt.protocol)) {
            uri = stream->uri;
            if (stream->frameRateLimit != 0) {
                SetServerFrameRate(m_owner.Session().param,
                                   static_cast<std::int32_t>(stream->frameRateLimit));
            }
        }
    }
    if (!uri.empty()) {
        NORIX_LOG("CNorixSDKCtrl::OnvifGetStreamUri", 1, "CNorixSDKCtrl::OnvifGetStreamUri(), StreamUri = %s",
                  util::RedactSecrets(uri).c_str());
        return uri;
    }
    const CameraCommands& camera = m_owner.Camera().Commands();
    return BuildStreamUri({camera.access.serverIP, attempt.protocol, camera.RtspPort(),
                           camera.access.httpPort, attempt.selection.channel, attempt.selection.stream,
                           attempt.selection.codec});
}

// ---- Disconnecting

long Connection::Disconnect() {
    const std::string server = util::WideToUtf8(m_owner.Properties().serverIP);
    NORIX_LOG("CNorixSDKCtrl::Disconnect", 1, "CNorixSDKCtrl::Disconnect(%s) begins", server.c_str());
    if (!m_owner.WaitForWindowCreation() || m_disconnecting) return 0;
    if (m_owner.HasWindow()) KillTimer(m_owner.Handle(), kTimerReconnect);
    if (m_reception) m_reception->Players().StopOutput();
    m_owner.EnableDigitalPTZ(false);
    FinishDisconnect(Finish::WithNotice);
    NORIX_LOG("CNorixSDKCtrl::Disconnect", 1, "CNorixSDKCtrl::Disconnect(%s) ends", server.c_str());
    return 0;
}

void Connection::FinishDisconnect(Finish how) {
    const util::CTimeDiff timing("CNorixSDKCtrl::FinishDisconnect()");
    m_disconnecting = true;
    m_owner.Session().param.Trace().Stop();
    m_owner.AudioPost(false);
    m_owner.AudioPostEx(false, L"", 0, 0);
    StopReception();
    m_owner.CloseDeliveries();
    DropReports();
    if (how == Finish::WithNotice) {
        const HWND window = m_owner.Handle();
        NORIX_LOG("CNorixSDKCtrl::FinishDisconnect", 1,
                  "SendMessage(0x%08x, WM_OnConnectStatus, eDisconnect)",
                  static_cast<unsigned>(reinterpret_cast<UINT_PTR>(window)));
        // A host that has destroyed the window first still hears of the end.
        if (window != nullptr) {
            SendMessageW(window, WM_OnConnectStatus, ecsDisconnect, 0);
        } else {
            OnConnectStatus(ecsDisconnect);
        }
    }
    m_active = false;
    m_disconnecting = false;
}

/// Ends all threads of the connection. They may be sending messages to the window, which are answered.
void Connection::StopReception() {
    CCtrlParam& param = m_owner.Session().param;
    param.SetClosing(true);
    if (!m_reception) return;
    const std::shared_ptr<Reception> reception = std::move(m_reception);
    const bool ended = reception->Stop();
    // Only then: a Connect further up on this thread's stack may hold the reception as well, which is no
    // thread.
    if (!ended) m_abandoned = reception->Param();
}

/// What the ended threads have posted before they ended is about a connection that is no more.
void Connection::DropReports() {
    if (!m_owner.HasWindow()) return;
    MSG message;
    for (const UINT report : {WM_OnConnectStatus, WM_OnForceI, WM_OnMotionWindowUpdate, WM_OnDIOStatus,
                              WM_OnResolutionChanged, WM_OnMDAlert, WM_OnIVAEvent, WM_OnGeneralEvent}) {
        while (PeekMessageW(&message, m_owner.Handle(), report, report, PM_REMOVE)) {
            if (message.message != WM_QUIT) continue;  // it passes every filter
            PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
    }
}

void Connection::OnWindowDestroyed() {
    if (m_active && !m_disconnecting) FinishDisconnect(Finish::WithNotice);
}

// ---- The picture

std::shared_ptr<CDecoder> Connection::Decoder() const {
    return m_reception ? m_reception->Players().Decoder() : nullptr;
}
void Connection::SetView(const ViewState& view) {
    if (m_reception) m_reception->Players().SetView(view);
}
void Connection::ChangePresenter() {
    if (m_reception) m_reception->Players().ChangePresenter();
}
bool Connection::DrawLastPicture(HDC dc, const RECT& bounds) const {
    return m_reception && m_reception->Players().DrawLast(dc, bounds);
}

// ---- Status

void Connection::ShowStatus(EConnectStatus status) {
    const wchar_t* caption = AppearanceOf(status).caption;
    if (caption == nullptr) return;
    if (status == ecsConnecting && (m_owner.Properties().captionInfo & eciStatus) == 0) return;
    switch (status) {
        case ecsConnected:
            m_owner.Status().SetPicture(StatusPicture::None);  // until video comes, and while only sound does
            break;
        case ecsDisconnect:
            m_owner.Status().SetPicture(StatusPicture::Disconnect);
            break;
        case ecsConnectFail:
        case ecsUserAuthenticationFail:
            m_owner.Status().SetPicture(StatusPicture::ConnectFail);
            break;
        default:
            break;
    }
    SetCaption(WithProblem(caption));
}

/// What was asked for and can't be shown is named where the user looks.
std::wstring Connection::WithProblem(std::wstring caption) const {
    const std::string problem = m_owner.Session().param.streamProblem.Get();
    if (!problem.empty()) caption += L" (" + util::Utf8ToWide(problem) + L")";
    return caption;
}

void Connection::SetCaption(const std::wstring& caption) {
    m_owner.Status().SetCaption(caption.c_str());
    m_owner.ViewChanged();
}

/// A camera that refuses to tell where its stream is makes it seem not to be there.
EConnectStatus Connection::Interpret(EConnectStatus reported) const {
    const bool refused = m_refused && m_status == ecsConnecting;
    return refused && reported == ecsConnectFail ? ecsUserAuthenticationFail : reported;
}

void Connection::OnConnectStatus(EConnectStatus reported) {
    const EConnectStatus status = Interpret(reported);
    const HWND window = m_owner.Handle();
    if (window != nullptr) {
        if (status == ecsConnected) {
            m_frameRateMeter.Reset(GetTickCount());
            SetTimer(window, kTimerStatistics, kTimerPeriod, nullptr);
        } else if (status == ecsDisconnect || AppearanceOf(status).failure) {
            KillTimer(window, kTimerStatistics);
        }
    }
    ShowStatus(status);
    if (status == ecsUserAuthenticationFail && window != nullptr)
        PostMessageW(window, WM_OnShowAuthDialog, 0, 0);

    m_status = status;
    m_owner.FireEvent(events::OnConnStatus, static_cast<short>(status));
    NORIX_LOG("CNorixSDKCtrl::OnConnectStatus", 1, "OnConnectStatus(%d), %s", static_cast<int>(status),
              AppearanceOf(status).name);

    // A host that disconnects inside the event has the last word: no reconnection then.
    if (!AppearanceOf(status).failure || m_status != status) return;
    FinishDisconnect(Finish::Quietly);
    if (status == ecsConnectFail && m_owner.Properties().autoReconnect && m_owner.HasWindow()) {
        SetTimer(m_owner.Handle(), kTimerReconnect, kTimerPeriod, nullptr);
    }
}

// ---- Timers

void Connection::OnAutoConnectTimer() {
    if (m_owner.Page() && !m_owner.Properties().clientSettingMode) m_owner.Connect();
}

void Connection::OnReconnectTimer() {
    KillTimer(m_owner.Handle(), kTimerReconnect);
    m_owner.Connect();
}

// What keeps pictures from being shown comes first, whatever the host wants to read there.
void Connection::RefreshCaption(const CCtrlParam& param) {
    std::wstring caption = param.obstacle.Get();
    if (!caption.empty()) {
        m_obstacleShown = true;
    } else if (std::exchange(m_obstacleShown, false)) {
        ShowStatus(ecsConnected);
    }
    if (caption.empty() && (m_owner.Properties().captionInfo & eciTime) != 0)
        caption = param.captionText.Get();
    if (!caption.empty() && !m_obstacleShown) caption = WithProblem(std::move(caption));
    if (!caption.empty() && caption != m_owner.Status().Caption()) SetCaption(caption);
}

void Connection::OnStatisticsTimer() {
    CCtrlParam& param = m_owner.Session().param;
    RefreshCaption(param);
    const int serverFrameRate = param.serverFrameRate.Get();
    const FrameRates rates = m_frameRateMeter.Pass(GetTickCount(), param.TakeFrameCounts());
    if (util::Switches().fps) LogFrameRates(rates);

    m_averageFrameRate = static_cast<int>(rates.average);
    if (serverFrameRate > 0) m_averageFrameRate = std::min(m_averageFrameRate, serverFrameRate);
    m_owner.FireEvent(events::FramePerSec, static_cast<double>(m_averageFrameRate));
    m_owner.FireEvent(events::OnVideoFrameRate, static_cast<long>(m_averageFrameRate));
    WatchDisk();
}

void Connection::LogFrameRates(const FrameRates& rates) const {
    const int serverFrameRate = m_owner.Session().param.serverFrameRate.Get();
    const int received = static_cast<int>(rates.received);
    NORIX_LOG("CNorixSDKCtrl::OnTimer", 1,
              "fps(received) = %d, fps(decoded) = %d, fps(displayed) = %d, fps(average) = %d", received,
              static_cast<int>(rates.decoded), static_cast<int>(rates.displayed),
              static_cast<int>(rates.average));
    const int target = static_cast<int>(util::Settings::TargetPTSDiff(serverFrameRate));
    if (1000 / target >= received) {
        NORIX_LOG("CNorixSDKCtrl::OnTimer", 1, "fps(received) <= target_fps (%.2f / %d ms)", 1000.0 / target,
                  target);
    }
    if (received < serverFrameRate) {
        NORIX_LOG("CNorixSDKCtrl::OnTimer", 1, "fps(received) <= server_fps (%d)", serverFrameRate);
    }
}

void Connection::WatchDisk() {
    const short status = m_owner.Properties().recordStatus;
    if (status != ersRecordStart && status != ersRecording) return;
    if (!IsDiskAlmostFull(m_owner.Properties().recordVideoPath)) return;
    m_owner.StopRecording(0);
    m_owner.Properties().recordStatus = ersDiskFull;
    m_owner.FireEvent(events::OnRecordStatus, static_cast<long>(ersDiskFull));
}

}  // namespace norix
