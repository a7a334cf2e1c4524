#pragma once

#include <windows.h>

#include <wrl/client.h>

#include <memory>
#include <optional>

#include "audio/talkback/MicVolumeCtrl.h"
#include "audio/talkback/TalkBack.h"
#include "control/ClientSettingsStore.h"
#include "control/ControlHosts.h"
#include "control/ControlProperties.h"
#include "control/Delivery.h"
#include "control/DropTarget.h"
#include "control/HostPage.h"
#include "control/connection/CameraLink.h"
#include "control/connection/Connection.h"
#include "control/connection/SessionContext.h"
#include "control/connection/Steering.h"
#include "control/connection/WindowsMeans.h"
#include "control/trust/TrustGuard.h"
#include "control/view/DrawingCommands.h"
#include "control/view/FullScreen.h"
#include "control/view/MouseEvents.h"
#include "control/view/OverlappedWindows.h"
#include "control/view/StatisticsOverlay.h"
#include "control/view/StatusView.h"
#include "control/view/ViewCommands.h"
#include "control/view/motion/MotionEditor.h"
#include "framework/ObjectFactory.h"
#include "framework/ObjectSafety.h"
#include "framework/OleControl.h"
#include "media/ControlMessages.h"
#include "record/Recorder.h"
#include "ui/AudioPanel.h"
#include "ui/AuthenticationDialog.h"
#include "ui/ClientSettingDialog.h"
#include "ui/InfoBox.h"
#include "util/Handles.h"

namespace norix {

/// Timers of the control's window.
enum ControlTimer : UINT_PTR {
    kTimerStatistics = static_cast<UINT_PTR>(ConnectionTimer::Statistics),
    kTimerAutoConnect = static_cast<UINT_PTR>(ConnectionTimer::AutoConnect),
    kTimerReconnect = static_cast<UINT_PTR>(ConnectionTimer::Reconnect),
    kTimerDeferredView = 11,
    kTimerFullScreen = 31,
    kTimerReports = static_cast<UINT_PTR>(ConnectionTimer::Reports),
};
inline constexpr UINT kTimerPeriod = 1000;

/// The control: what a host creates by "NORIXSDK.NorixSDKCtrl.1".
///
/// A façade. It owns the parts that do the work and is where they meet: automation methods forward to them,
/// messages of worker threads arrive here and become events. Everything runs on the thread that created it;
/// worker threads reach it only through the private window messages of media/ControlMessages.h.
class CNorixSDKCtrl final : public framework::COleControl,
                            private DropSink,
                            private AudioPanelSink,
                            private MotionEditHost,
                            private ClientSettingSink,
                            private AuthenticationSink {
  public:
    class CNorixSDKCtrlFactory final : public framework::COleObjectFactory {
      public:
        CNorixSDKCtrlFactory();

      private:
        IUnknown* CreateObject() override;
    };

    CNorixSDKCtrl();

    ControlProperties& Properties() { return m_properties; }
    SessionContext& Session() { return *m_session; }
    /// Recording follows the connection: nothing is taken before it begins or after it ends.
    void BeginRecordingStreams();
    void FinishRecording();
    void OnRecordStatus(RecordStatus status);
    CameraLink& Camera() { return m_camera; }
    TrustGuard& Trust() { return m_trust; }
    Connection& ConnectionState() { return m_connection; }
    StatusView& Status() { return m_statusView; }
    ViewCommands& Commands() { return m_viewCommands; }
    /// The page that holds the control; nothing in a host that is no browser.
    const std::optional<HostPage>& Page() const { return m_page; }

    /// How the picture is to look has changed: shows it so.
    void ViewChanged();

    /// One line in the container's status bar; empty takes it away.
    void ShowStatusText(const std::wstring& text) { InPlaceState().ShowStatusText(text); }

    /// A sign-in that was asked for is not wanted any more.
    void WithdrawSignIn();

    /// Over the picture, where the user or the host wants them; once a second.
    void ShowStatistics();
    /// Anew as the user's settings say.
    void ReadStatisticsWish() { m_statisticsWanted = SavedSettings().statistics; }

    /// The user's settings for this camera's channel.
    ClientSettings SavedSettings();

    /// The control has changed a property by itself: tells those who bind to it.
    void NotifyChanged(const wchar_t* property);

    /// Ends a recording whose drive is almost full.
    void WatchDisk();

    /// Digital PTZ shows another part of the picture.
    void OnViewMoved() { FollowView(); }
    /// The camera has told more of itself beside its stream.
    void OnCameraTold();
    /// Ends with the connection.
    void EndMotionEditing() { m_motionEditor.Close(); }
    bool StopTalking();

    /// Opened when a connection starts, closed when it ends.
    void OpenDeliveries();
    void CloseDeliveries();

    /// Returns once the control's window is there, dispatching the thread's messages meanwhile: a host may
    /// set properties and connect before it activates the control. A control that no container has taken in
    /// gets a hidden window. False when that fails, or when the thread is told to quit while it waits.
    bool WaitForWindowCreation();

    // ---- Properties: change handlers and accessors

    void OnPropertyModified() { SetModifiedFlag(); }
    void OnSignInChanged();
    void OnMotionEditModeChanged();
    void OnShowMDWindowChanged();
    void OnEnableAudioControlChanged();
    void OnClientSettingModeChanged();
    void OnMagicCodeChanged();
    void OnForceGDIChanged();
    void OnNotifyVideoDataChanged();
    void OnNotifyNewPacketChanged();
    void OnDeInterlaceChanged();
    void OnDisplayChanged();
    void OnDecodeAVChanged();
    void OnIFrameOnlyChanged();
    void OnVoiceMuteChanged();
    void OnVoiceVolumeChanged();
    void OnRecordSettingsChanged();
    void OnRecordMaxFileTimeLengthChanged();
    void OnConnectionTimeoutChanged();
    void OnHttpPortChanged();
    void OnCHIndexChanged();
    void OnStreamIndexChanged();
    void OnCaptionInfoChanged();

    short GetConnectStatus() const { return m_connection.Status(); }
    long GetVideoFrameRate() const { return m_connection.AverageFrameRate(); }
    double GetFrameRate() const { return m_connection.AverageFrameRate(); }
    short GetStreamType() const;
    bool GetIgnoreBorder() const { return m_properties.ignoreBorder; }
    void SetIgnoreBorder(bool ignore);
    bool GetIgnoreCaption() const { return m_properties.ignoreCaption; }
    void SetIgnoreCaption(bool ignore);
    framework::Text GetServerModelType();
    void SetServerModelType(const framework::Text& model);
    framework::Text GetInterfaceAddress() const { return m_properties.interfaceAddress; }
    void SetInterfaceAddress(const framework::Text& address);
    long GetStreamingType() const { return m_properties.streamingType; }
    void SetStreamingType(long type) { m_properties.streamingType = type; }

    // ---- Methods

    long Connect();
    long Disconnect();
    long ConnectServer() { return Connect(); }
    long DisconnectServer() { return Disconnect(); }
    void SetMulticastInfo(const framework::Text& address, const framework::Text& videoPort,
                          const framework::Text& audioPort);
    void SetMulticastInfoEx(const framework::Text& videoAddress, long videoPort,
                            const framework::Text& audioAddress, long audioPort);
    long SetMulticastInfoByType(long type, const framework::Text& address, long port);

    short SaveClientSetting();
    void SetClientReg(const framework::Text& model, long channel, const framework::Text& name,
                      const framework::Text& value);
    framework::Text GetClientReg(const framework::Text& model, long channel, const framework::Text& name,
                                 const framework::Text& defaultValue);

    framework::Text HttpCommand(const framework::Text& sendType, const framework::Text& server,
                                const framework::Text& url, bool wantReply);
    framework::Text GetPresetName();
    void SavePresetPosition(const framework::Text& name, short index);
    long SendCameraCommand(const framework::Text& command, short parameter);

    long StartRecording(short format);
    long StopRecording(short format);
    void SaveSnapShot(const framework::Text& path, const framework::Text& name, bool automatic);
    void GetSnapshotData(long format);
    bool AudioPost(bool enable);
    bool AudioPostEx(bool enable, const framework::Text& uri, short codec, long sampleRate);

    void PreviewFullScreen(bool full);
    long SetVideoSize(long width, long height);
    framework::Text ConvertCoordinateInJSON(long x, long y, bool videoToWindow);
    long RotateVideo(long angle);
    long ChangeDecodeSpeed(long speed);
    void EnableDigitalPTZ(bool enable);

    long CreateOverlappedWindow(long index, long left, long top, long width, long height, bool show,
                                bool resizable, const framework::Text& caption);
    long DeleteOverlappedWindow(long index);
    framework::Text GetOverlappedWindowInJSON(long index);

    long RemoveAllGraphicObjs();
    long RemoveGraphicObj(long handle);
    long CreatePen(short red, short green, short blue, short lineWidth, short style);
    long CreateBrush(short red, short green, short blue);
    long CreateFont(short red, short green, short blue, long pointSize, const framework::Text& face);
    long DrawLine(long beginX, long beginY, long endX, long endY, long pen);
    long DrawRectangle(long left, long top, long width, long height, long pen, long brush);
    long DrawEllipse(long left, long top, long width, long height, long pen, long brush);
    long DrawText(const framework::Text& text, long left, long top, long width, long height, short format,
                  long font, long brush);

    static const framework::DispatchTable& Table();

  protected:
    ~CNorixSDKCtrl() override;

    void* OnQueryInterface(REFIID iid) override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnDraw(HDC dc, const RECT& bounds) override;
    void OnAmbientPropertyChange(DISPID id) override;
    void OnSaveProperty(const framework::DispatchMember& member, VARIANT& value) override;

  private:
    HRESULT OnCreate();
    void OnDestroy();
    /// The camera for a request of the host's; null where the host may not reach it.
    CameraCommands* AdmittedCamera();
    bool IsCaptionShown() const;
    void OnTimer(UINT_PTR id);
    /// The private messages; false for any other message.
    bool OnPrivateMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void OnNewFrame(const void* description, const void* bytes);
    void OnNewPacket(const void* description, const void* bytes);
    void OnRequestFileName(const SYSTEMTIME& time);
    void OnSnapshotData(const void* bytes, const SnapshotDescription* picture);
    void OnForceI(long channel, long stream);
    void OnIVAEvent(long index, long functionType);
    void OnShowAuthDialog();
    void OnSignInEntered(const Credentials& entered, bool remember) override;
    void OnTextDropped(const std::wstring& text) override;
    void OnSize();
    bool IsPlacedElsewhere() const override { return m_fullScreen.IsOn(); }
    void ReturnToPlace() override;
    void OnParentChanged();
    HRESULT OnMovedIntoContainer() override { return ReadHostPage(); }
    bool OnTranslateAccelerator(const MSG& message) override;
    MotionSettings CameraMotion(bool anew) override;
    bool SaveCameraMotion(const MotionSettings& settings) override;
    std::string MotionSource() override;
    std::wstring MotionName(const std::string& name) override;
    int CornerHeight() override;
    bool WantsMotionEditor() override;
    void SaveMotionLater() override;
    void SaveMotion();
    void OnMotionWindowUpdate(std::size_t index);
    StreamSelection ViewedStream() const;
    /// What lies over the picture keeps its place on it.
    void FollowView();
    void SetMute(bool mute) override;
    void SetVolume(int volume) override;
    void SetTalk(bool talk) override;
    int VoiceLevel() override;
    void SetMicrophoneLevel(int level) override;
    bool StartTalking(std::string url, const VoiceFormat& format);
    bool MayTalkTo(const std::string& host);
    bool IsSeen() const;
    void OnTalkState();
    void OnTalkWish();
    /// Shows or hides it, and shows in it what the properties say.
    void UpdateAudioPanel();
    /// Shows or hides the client settings, as the property says.
    void UpdateClientSettings();
    std::vector<std::uint8_t> KnownStreams() const;
    ClientSettingsStore SettingsStore();
    void UseSettings(const ClientSettings& settings);
    void OnSettingsAccepted(bool connectAgain) override;
    void OnSettingsCancelled() override;
    std::wstring PickFolder(HWND owner) override;
    void EndSettingMode();
    HRESULT ReadHostPage();
    /// Where the workers' reports go.
    void SetReportWindow(HWND window);
    /// Hands folder, names and limits of recordings to the recorder, as the properties say now.
    void ApplyRecordSettings();
    /// Hands a property's value to the threads that use it.
    template <class T, class U>
    void Pass(const T& value, Shared<U>& shared) {
        shared.Set(static_cast<U>(value));
        SetModifiedFlag();
    }

    ControlProperties m_properties;
    framework::ObjectSafety<CNorixSDKCtrl> m_objectSafety;
    util::Event m_windowCreated{util::Event::Kind::kManualReset};
    const std::shared_ptr<SessionContext> m_session =
        std::make_shared<SessionContext>();  // its threads' as well
    std::optional<HostPage> m_page;
    TrustGuard m_trust;
    Recorder m_recorder{std::shared_ptr<CCtrlParam>(m_session, &m_session->param)};
    ControlAsConnectionHost m_connectionHost{*this};
    ControlAsViewHost m_viewHost{*this};
    WindowsMeans m_means{m_session, m_trust.Connections()};
    CameraLink m_camera{m_connectionHost, m_means};
    Steering m_steering{m_camera};
    StatusView m_statusView;
    MouseEvents m_mouse{m_viewHost};
    ViewCommands m_viewCommands{m_viewHost};
    DrawingCommands m_drawingCommands{m_viewHost, m_viewCommands};
    FullScreen m_fullScreen;
    StatisticsOverlay m_statistics;
    OverlappedWindows m_overlapped{m_viewHost, m_viewCommands};
    MotionEditor m_motionEditor{m_viewHost, m_viewCommands, *this};
    PixelSize m_windowSize;  // the last one at which there was something to see
    AudioPanel m_audioPanel{*this};
    TalkBack m_talkBack{std::shared_ptr<CCtrlParam>(m_session, &m_session->param)};
    CMicVolumeCtrl m_micVolume;
    InfoBox m_talkBox;
    bool m_talkWanted = false;  // nobody has taken the wish to talk back
    ClientSettingDialog m_settingDialog{*this};
    AuthenticationDialog m_signInDialog{*this};
    std::vector<protocol::Origin> m_signInWanting;  // whom the dialog asks for
    Connection m_connection{m_connectionHost, m_means, m_camera, m_session};
    DeliveryGate m_dioStatusDelivery;
    DeliveryGate m_newFrameDelivery;
    DeliveryGate m_newPacketDelivery;
    Microsoft::WRL::ComPtr<DropTarget> m_dropTarget;
    std::wstring m_modelOf;        // the camera whose model the property names
    std::int32_t m_modelPort = 0;  // where it was asked; 0: the host has named it
    bool m_winsockStarted = false;
    bool m_statisticsWanted = false;   // over the picture
    bool m_userInterfaceDead = false;  // the container wants no reaction to the user (ambient UIDead)
    int m_snapshotDepth = 0;           // events of snapshots that are being handled
};

}  // namespace norix
