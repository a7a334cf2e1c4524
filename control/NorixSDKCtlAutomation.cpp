// Automation: the change handlers of properties and the methods. Each is a few lines that forward to the part
// that owns the job. Methods whose part needs a connection answer as they do without one.

#include <algorithm>
#include <charconv>

#include "control/Events.h"
#include "control/NorixSDKCtl.h"
#include "control/connection/Playback.h"
#include "render/decode/Decoder.h"
#include "render/present/Presenter.h"
#include "render/snapshot/SnapshotName.h"
#include "util/Log.h"
#include "util/Text.h"

namespace norix {

using framework::Text;

namespace {

constexpr long kMinimumConnectionTimeout = 1000;  // ms
constexpr long kMaximumRecordSeconds = 24 * 60 * 60;
constexpr long kMaximumPort = 65535;
constexpr long kMaximumVolume = 100;

/// A port written as text; -1 for anything but a number from 0 to 65535.
long ParsePort(const Text& text) {
    const std::string digits = util::WideToUtf8(text);
    long port = -1;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    const bool valid =
        error == std::errc() && end == digits.data() + digits.size() && port >= 0 && port <= kMaximumPort;
    return valid ? port : -1;
}

}  // namespace

// ---- Change handlers and accessors

void CNorixSDKCtrl::OnSignInChanged() {
    m_camera.Who().OnHostChange();
    SetModifiedFlag();
}

void CNorixSDKCtrl::OnEnableAudioControlChanged() {
    WaitForWindowCreation();
    SetModifiedFlag();
    UpdateAudioPanel();
}

void CNorixSDKCtrl::OnMagicCodeChanged() {
    SetModifiedFlag();
    // A window that was destroyed again has no timers.
    if (WaitForWindowCreation() && HasWindow() && m_page)
        SetTimer(Handle(), kTimerAutoConnect, kTimerPeriod, nullptr);
}

// What the threads of a connection read from the parameter block, at once.
void CNorixSDKCtrl::OnForceGDIChanged() {
    Pass(m_properties.forceGDI, m_session->param.forceGDI);
    if (const auto decoder = m_connection.Decoder()) RenewPresenter(*decoder, m_session->param);
}
void CNorixSDKCtrl::OnNotifyVideoDataChanged() {
    Pass(m_properties.notifyVideoData, m_session->param.notifyVideoData);
}
void CNorixSDKCtrl::OnNotifyNewPacketChanged() {
    Pass(m_properties.notifyNewPacket, m_session->param.notifyNewPacket);
}
void CNorixSDKCtrl::OnDeInterlaceChanged() {
    Pass(m_properties.deInterlace, m_session->param.deInterlace);
}
void CNorixSDKCtrl::OnDisplayChanged() {
    Pass(m_properties.display, m_session->param.display);
}
void CNorixSDKCtrl::OnDecodeAVChanged() {
    Pass(m_properties.decodeAV, m_session->param.decodeAV);
}
void CNorixSDKCtrl::OnIFrameOnlyChanged() {
    Pass(m_properties.iFrameOnly, m_session->param.iFrameOnly);
}
void CNorixSDKCtrl::OnShowMDWindowChanged() {
    Pass(m_properties.showMDWindow, m_session->param.showRegions);
}
void CNorixSDKCtrl::OnVoiceMuteChanged() {
    Pass(m_properties.voiceMute, m_session->param.voiceMute);
    UpdateAudioPanel();
}
void CNorixSDKCtrl::OnVoiceVolumeChanged() {
    // A container saves the default, 0, like any value: only a host that sets 0 itself wants silence.
    const bool chosen = m_properties.voiceVolume != 0 || !IsLoading();
    const long volume = std::clamp(m_properties.voiceVolume, 0L, kMaximumVolume);
    Pass(chosen ? volume : long{kVolumeAsRecorded}, m_session->param.voiceVolume);
    UpdateAudioPanel();
}

void CNorixSDKCtrl::UpdateAudioPanel() {
    AudioPanelView view;
    view.mute = m_properties.voiceMute;
    view.volume = m_session->param.voiceVolume.Get();
    view.talking = m_talkBack.IsOn();
    // A page's user sees when the microphone is on, whatever the page shows else.
    const bool wanted = HasWindow() && (m_properties.enableAudioControl || (view.talking && m_trust.IsWeb()));
    if (wanted) view.microphoneLevel = m_micVolume.Get();
    m_audioPanel.Update(view);
    if (wanted) {
        m_audioPanel.Show(Handle());
    } else {
        m_audioPanel.Hide();
    }
    if (m_motionEditor.IsOpen()) m_motionEditor.PlacePanel();
}

void CNorixSDKCtrl::SetMute(bool mute) {
    if (m_userInterfaceDead) return UpdateAudioPanel();
    m_properties.voiceMute = mute;
    OnVoiceMuteChanged();
    NotifyChanged(L"VoiceMute");
}

void CNorixSDKCtrl::SetVolume(int volume) {
    if (m_userInterfaceDead) return UpdateAudioPanel();
    m_properties.voiceVolume = volume;
    OnVoiceVolumeChanged();
    NotifyChanged(L"VoiceVolume");
}

void CNorixSDKCtrl::OnRecordMaxFileTimeLengthChanged() {
    m_properties.recordMaxFileTimeLength =
        std::clamp(m_properties.recordMaxFileTimeLength, 0L, kMaximumRecordSeconds);
    OnRecordSettingsChanged();
}

void CNorixSDKCtrl::OnRecordSettingsChanged() {
    ApplyRecordSettings();
    SetModifiedFlag();
}

void CNorixSDKCtrl::OnConnectionTimeoutChanged() {
    m_properties.connectionTimeout = std::max(m_properties.connectionTimeout, kMinimumConnectionTimeout);
    SetModifiedFlag();
}

void CNorixSDKCtrl::OnHttpPortChanged() {
    m_properties.httpPort = std::clamp(m_properties.httpPort, 0L, kMaximumPort);
    SetModifiedFlag();
}

void CNorixSDKCtrl::OnCHIndexChanged() {
    m_properties.chIndex = std::max(m_properties.chIndex, 1L);
    // What is viewed stays what it is until the next connection.
    if (!m_connection.IsActive()) m_session->channel.Set(m_properties.chIndex);
    SetModifiedFlag();
}

void CNorixSDKCtrl::OnStreamIndexChanged() {
    m_properties.streamIndex = std::max(m_properties.streamIndex, 1L);
    if (!m_connection.IsActive()) m_session->stream.Set(m_properties.streamIndex);
    SetModifiedFlag();
}

void CNorixSDKCtrl::OnCaptionInfoChanged() {
    SetModifiedFlag();
    ViewChanged();
}

void CNorixSDKCtrl::SetIgnoreBorder(bool ignore) {
    m_properties.ignoreBorder = ignore;
    SetModifiedFlag();
    ViewChanged();
}

void CNorixSDKCtrl::SetIgnoreCaption(bool ignore) {
    m_properties.ignoreCaption = ignore;
    SetModifiedFlag();
    ViewChanged();
}

void CNorixSDKCtrl::SetInterfaceAddress(const Text& address) {
    m_properties.interfaceAddress = address;
    MulticastInfo info = m_session->param.multicast.Get();
    info.interfaceAddress = util::WideToUtf8(address);
    m_session->param.multicast.Set(info);
    SetModifiedFlag();
}

short CNorixSDKCtrl::GetStreamType() const {
    return static_cast<short>(m_connection.StreamCodec());
}

// ---- Connection

long CNorixSDKCtrl::Connect() {
    return m_connection.Connect();
}
long CNorixSDKCtrl::Disconnect() {
    return m_connection.Disconnect();
}

void CNorixSDKCtrl::NotifyChanged(const wchar_t* property) {
    if (const framework::DispatchMember* const member = Table().Find(property))
        NotifyPropertyChanged(member->id);
}

void CNorixSDKCtrl::SetMulticastInfo(const Text& address, const Text& videoPort, const Text& audioPort) {
    SetMulticastInfoEx(address, ParsePort(videoPort), address, ParsePort(audioPort));
}

void CNorixSDKCtrl::SetMulticastInfoEx(const Text& videoAddress, long videoPort, const Text& audioAddress,
                                       long audioPort) {
    SetMulticastInfoByType(static_cast<long>(MulticastStream::Video), videoAddress, videoPort);
    SetMulticastInfoByType(static_cast<long>(MulticastStream::Audio), audioAddress, audioPort);
}

long CNorixSDKCtrl::SetMulticastInfoByType(long type, const Text& address, long port) {
    MulticastInfo info = m_session->param.multicast.Get();
    if (type < 0 || type >= std::ssize(info.streams) || port < 0 || port > kMaximumPort) return E_INVALIDARG;
    info[static_cast<MulticastStream>(type)] = {util::WideToUtf8(address), static_cast<std::uint16_t>(port)};
    m_session->param.multicast.Set(info);
    return S_OK;
}

// ---- Camera commands

Text CNorixSDKCtrl::HttpCommand(const Text& sendType, const Text& server, const Text& url, bool wantReply) {
    const std::string host = util::WideToUtf8(server);
    if (!server.empty() && !m_trust.Admit(host)) return L"Error";
    const std::string path = util::WideToUtf8(url);
    if (const auto answer = m_steering.InPlaceOf(host, path)) return wantReply ? *answer : Text();
    return m_camera.CommandsFor(host).HttpCommand(util::WideToUtf8(sendType), host, path, wantReply);
}

Text CNorixSDKCtrl::GetServerModelType() {
    // Behind one router cameras differ by their port.
    const bool another = m_modelPort != 0 && m_modelPort != m_properties.httpPort;
    if (m_properties.serverModelType.empty() || m_modelOf != m_properties.serverIP || another) {
        CameraCommands* const camera = AdmittedCamera();
        if (!camera) return {};
        m_properties.serverModelType = camera->ServerModelType();
        m_modelOf = m_properties.serverIP;
        m_modelPort = m_properties.httpPort;
    }
    return m_properties.serverModelType;
}

void CNorixSDKCtrl::SetServerModelType(const Text& model) {
    m_properties.serverModelType = model;
    m_modelOf = m_properties.serverIP;
    m_modelPort = 0;
}

CameraCommands* CNorixSDKCtrl::AdmittedCamera() {
    const std::string typed = util::WideToUtf8(m_properties.serverIP);
    return m_trust.Admit(std::string(TypedHost(typed))) ? &m_camera.Commands() : nullptr;
}

Text CNorixSDKCtrl::GetPresetName() {
    return AdmittedCamera() ? m_steering.PresetNames() : Text();
}
void CNorixSDKCtrl::SavePresetPosition(const Text& name, short index) {
    if (AdmittedCamera()) m_steering.SavePreset(name, index);
}
long CNorixSDKCtrl::SendCameraCommand(const Text& command, short parameter) {
    const bool sent =
        AdmittedCamera() && m_steering.Send(util::WideToUtf8(command), parameter, ViewedStream().channel);
    return sent ? 0 : -1;
}

// ---- Snapshots

void CNorixSDKCtrl::SaveSnapShot(const Text& path, const Text& name, bool automatic) {
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    const SnapshotTime time{now.wYear,   now.wMonth,  now.wDay,         now.wHour,
                            now.wMinute, now.wSecond, now.wMilliseconds};
    const bool web = m_trust.IsWeb();
    const std::wstring root = web ? m_trust.FileFolder() : std::wstring();
    if (web && root.empty()) return;
    // Where the host names no folder, the user's serves.
    const std::wstring folder = path.empty() && !web ? SavedSettings().snapshotFolder : path;
    m_session->param.snapshots.RequestFile(
        {folder, SnapshotFileName(name, automatic, time), m_trust.Level(), root, name.empty() || automatic});
}
void CNorixSDKCtrl::GetSnapshotData(long format) {
    m_session->param.snapshots.RequestData(format);
}

// ---- View

void CNorixSDKCtrl::PreviewFullScreen(bool full) {
    NORIX_LOG("CNorixSDKCtrl::PreviewFullScreen", 1, "CNorixSDKCtrl::PreviewFullScreen(%d)", full);
    if (m_fullScreen.IsOn()) {
        ReturnToPlace();
    } else if (full && HasWindow() && m_trust.MayFillScreen() && m_fullScreen.Enter(Handle())) {
        SetTimer(Handle(), kTimerFullScreen, kTimerPeriod / 2, nullptr);
        OnParentChanged();
    }
}
long CNorixSDKCtrl::SetVideoSize(long width, long height) {
    const long result = m_viewCommands.SetVideoSize(width, height);
    FollowView();
    return result;
}
Text CNorixSDKCtrl::ConvertCoordinateInJSON(long x, long y, bool videoToWindow) {
    return m_viewCommands.ConvertCoordinateInJSON(x, y, videoToWindow);
}
long CNorixSDKCtrl::RotateVideo(long angle) {
    return m_viewCommands.RotateVideo(angle);
}
long CNorixSDKCtrl::ChangeDecodeSpeed(long speed) {
    return m_viewCommands.ChangeDecodeSpeed(speed);
}
void CNorixSDKCtrl::EnableDigitalPTZ(bool enable) {
    m_viewCommands.EnableDigitalPTZ(enable);
}

// ---- Over the picture

long CNorixSDKCtrl::CreateOverlappedWindow(long index, long left, long top, long width, long height,
                                           bool show, bool resizable, const Text& caption) {
    return m_overlapped.Create(index, {{left, top}, {width, height}}, show, resizable, caption);
}
long CNorixSDKCtrl::DeleteOverlappedWindow(long index) {
    return m_overlapped.Delete(index);
}
Text CNorixSDKCtrl::GetOverlappedWindowInJSON(long index) {
    return m_overlapped.InJson(index);
}

long CNorixSDKCtrl::RemoveAllGraphicObjs() {
    return m_drawingCommands.RemoveAll();
}
long CNorixSDKCtrl::RemoveGraphicObj(long handle) {
    return m_drawingCommands.Remove(handle);
}
long CNorixSDKCtrl::CreatePen(short red, short green, short blue, short lineWidth, short style) {
    return m_drawingCommands.CreatePen({red, green, blue}, lineWidth, style);
}
long CNorixSDKCtrl::CreateBrush(short red, short green, short blue) {
    return m_drawingCommands.CreateBrush({red, green, blue});
}
long CNorixSDKCtrl::CreateFont(short red, short green, short blue, long pointSize, const Text& face) {
    return m_drawingCommands.CreateFont({red, green, blue}, pointSize, face);
}
long CNorixSDKCtrl::DrawLine(long beginX, long beginY, long endX, long endY, long pen) {
    return m_drawingCommands.DrawLine({beginX, beginY}, {endX, endY}, pen);
}
long CNorixSDKCtrl::DrawRectangle(long left, long top, long width, long height, long pen, long brush) {
    return m_drawingCommands.DrawRectangle({{left, top}, {width, height}}, pen, brush);
}
long CNorixSDKCtrl::DrawEllipse(long left, long top, long width, long height, long pen, long brush) {
    return m_drawingCommands.DrawEllipse({{left, top}, {width, height}}, pen, brush);
}
long CNorixSDKCtrl::DrawText(const Text& text, long left, long top, long width, long height, short format,
                             long font, long brush) {
    return m_drawingCommands.DrawText(text, {{left, top}, {width, height}}, format, font, brush);
}

}  // namespace norix
