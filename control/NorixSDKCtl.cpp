#include <winsock2.h>  // before windows.h

#include "control/NorixSDKCtl.h"

#include <olectl.h>

#include "codec/StaticInit.h"
#include "control/Events.h"
#include "control/Identity.h"
#include "control/connection/StreamAddress.h"
#include "control/resource.h"
#include "framework/EntryPoint.h"
#include "media/ControlMessages.h"
#include "net/RegistryMemory.h"
#include "protocol/Text.h"
#include "render/decode/Decoder.h"
#include "util/Log.h"
#include "util/LogSetup.h"
#include "util/Text.h"
#include "util/Version.h"

namespace norix {

namespace {

/// A key or a button of the mouse goes down in the control: what a user does, and a page's script can't.
bool IsUserInput(UINT message) {
    switch (message) {
        case WM_KEYDOWN:
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
        case WM_RBUTTONDOWN:
        case WM_RBUTTONDBLCLK:
        case WM_MBUTTONDOWN:
        case WM_MBUTTONDBLCLK:
            return true;
        default:
            return false;
    }
}

// Active when visible, set up without a user interface, activated without UI, no drawing of its border by the
// container, and rendered by the control itself.
constexpr DWORD kMiscStatus = OLEMISC_ACTIVATEWHENVISIBLE | OLEMISC_SETCLIENTSITEFIRST | OLEMISC_INSIDEOUT |
                              OLEMISC_CANTLINKINSIDE | OLEMISC_RECOMPOSEONRESIZE;

constexpr framework::ControlClass kControl = {
    .clsid = kControlClass,
    .userType = kControlName,
    .typeLibrary = kTypeLibrary,
    .dispatchInterface = kDispatchInterface,
    .eventInterface = kEventInterface,
    .propertyPage = kPropertyPageClass,
    .miscStatus = kMiscStatus,
    .initialSize = {320, 240},
};

constexpr framework::ClassRegistration kRegistration = {
    .clsid = kControlClass,
    .description = kControlName,
    .versionIndependentProgId = kVersionIndependentProgId,
    .progId = kProgId,
    .typeLibrary = kTypeLibrary,
    .version = L"1.0",
    .miscStatus = kMiscStatus,
    .toolboxBitmap = IDB_TOOLBOX,
};

constexpr WORD kWinsockVersion = MAKEWORD(2, 2);

CNorixSDKCtrl::CNorixSDKCtrlFactory g_controlFactory;

}  // namespace

CNorixSDKCtrl::CNorixSDKCtrlFactory::CNorixSDKCtrlFactory() : COleObjectFactory(kRegistration) {}

IUnknown* CNorixSDKCtrl::CNorixSDKCtrlFactory::CreateObject() {
    return static_cast<IDispatch*>(new CNorixSDKCtrl());
}

// ---- Construction and destruction

CNorixSDKCtrl::CNorixSDKCtrl()
    : COleControl(kControl, Table()), m_objectSafety(*this), m_trust([this] {
          const bool untrusted = (m_objectSafety.Enabled() & INTERFACESAFE_FOR_UNTRUSTED_CALLER) != 0;
          return TrustGuard::Host{Embedding().Site(), untrusted, Handle(), &InPlaceState()};
      }) {
    util::ReadLogSwitches();
    net::rememberServersInRegistry();
    const std::string version = util::ModuleVersion(framework::COleControlModule::Get().Instance())
                                    .value_or(util::FileVersion())
                                    .Text();
    m_properties.versionInfo = util::AnsiToWide(version);
    NORIX_LOG("CNorixSDKCtrl::CNorixSDKCtrl", 1, "CNorixSDKCtrl() constructor begins, file version = %s",
              version.c_str());
    SetReportWindow(Handle());

    WSADATA winsock;
    m_winsockStarted = WSAStartup(kWinsockVersion, &winsock) == 0;
    if (!m_winsockStarted) {
        MessageBoxW(nullptr, L"Could not find a usable WinSock DLL", L"", MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    const int codecStatus = codec::StaticInit();
    if (codecStatus != 0) {
        NORIX_LOG("CNorixSDKCtrl::CNorixSDKCtrl", 1, "ippStaticInit() return failed = %d", codecStatus);
    }
}

CNorixSDKCtrl::~CNorixSDKCtrl() {
    NORIX_LOG("CNorixSDKCtrl::~CNorixSDKCtrl", 1, "CNorixSDKCtrl() destructor begins");
    m_connection.FinishDisconnect(Connection::Finish::Quietly);
    if (m_winsockStarted) WSACleanup();
}

void* CNorixSDKCtrl::OnQueryInterface(REFIID iid) {
    return m_objectSafety.Find(iid);
}

// ---- The window

HRESULT CNorixSDKCtrl::ReadHostPage() {
    const Microsoft::WRL::ComPtr<IOleClientSite> site = Embedding().Site();  // while it is called
    const std::optional<std::wstring> address = ReadContainerAddress(site.Get());
    if (!address) return S_OK;
    std::optional<HostPage> page;
    if (!ParsePageAddress(*address, page)) return E_FAIL;
    if (!page) return S_OK;
    m_properties.serverIP = page->host;
    if (!page->isHttps) m_properties.httpPort = page->port;
    NORIX_LOG("CNorixSDKCtrl::OnCreate", 1, "CNorixSDKCtrl::OnCreate() browser: scheme=%s, host=%s, port=%d",
              page->isHttps ? "https" : "http", util::WideToUtf8(page->host).c_str(),
              static_cast<int>(page->port));
    m_page = std::move(page);
    return S_OK;
}

HRESULT CNorixSDKCtrl::OnCreate() {
    NORIX_LOG("CNorixSDKCtrl::OnCreate", 1, "CNorixSDKCtrl::OnCreate()");
    const HRESULT page = ReadHostPage();
    if (FAILED(page)) return page;
    SetReportWindow(Handle());
    m_statusView.SetPicture(StatusPicture::Disconnect);
    m_dropTarget = DropTarget::Register(Handle(), *this);
    m_windowCreated.Set();
    RunPostponedHandlers();
    UpdateAudioPanel();
    UpdateClientSettings();
    return S_OK;
}

void CNorixSDKCtrl::OnDestroy() {
    NORIX_LOG("CNorixSDKCtrl::OnDestroy", 1, "CNorixSDKCtrl::OnDestroy()");
    // Pictures have nowhere to go from here on, and the timers go with the window.
    m_connection.OnWindowDestroyed();
    if (m_dropTarget != nullptr) std::exchange(m_dropTarget, nullptr)->Revoke();
    m_talkBox.Dismiss();
    StopTalking();
    m_mouse.Forget();
    m_overlapped.Clear();
    m_motionEditor.Close();
    m_settingDialog.Close();
    m_signInDialog.Close();
    m_fullScreen.Forget();
    // The system gives window handles out again: no worker may post to this one any more.
    SetReportWindow(nullptr);
}

bool CNorixSDKCtrl::WaitForWindowCreation() {
    // A control without a container would wait for ever: nobody is there to activate it. One that has left
    // its container is about to end.
    if (Embedding().Site() == nullptr && (Embedding().WasContained() ? !HasWindow() : !CreateHiddenWindow()))
        return false;
    const HANDLE created = m_windowCreated.Get();
    while (!m_windowCreated.Wait(0)) {
        MSG message;
        if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            MsgWaitForMultipleObjectsEx(1, &created, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
            continue;
        }
        if (message.message == WM_QUIT) {
            PostQuitMessage(static_cast<int>(message.wParam));  // for the host's own loop
            return false;
        }
        // What the user types into the host stays out of the log.
        const bool typed = message.message >= WM_KEYFIRST && message.message <= WM_KEYLAST;
        NORIX_LOG(
            "CNorixSDKCtrl::WaitForWindowCreation", 1,
            "CNorixSDKCtrl::WaitForWindowCreation(), PumpMessage(id=0x%08x, wParam=0x%08x, lParam=0x%08x)",
            message.message, typed ? 0u : static_cast<unsigned>(message.wParam),
            typed ? 0u : static_cast<unsigned>(message.lParam));
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return true;
}

void CNorixSDKCtrl::OnDraw(HDC dc, const RECT& bounds) {
    if (const auto decoder = m_connection.Decoder(); decoder && decoder->DrawLast(dc, bounds)) return;
    m_statusView.Draw(dc, bounds, IsCaptionShown(), !m_properties.ignoreBorder);
}

bool CNorixSDKCtrl::IsCaptionShown() const {
    return !m_properties.ignoreCaption && m_properties.captionInfo != eciNone;
}

void CNorixSDKCtrl::ViewChanged() {
    PictureView& view = *m_session->view;
    view.SetCaption(m_statusView.Caption());
    view.SetCaptionShown(IsCaptionShown());
    view.SetBorderShown(!m_properties.ignoreBorder);
    view.EnableDigitalPtz(m_viewCommands.IsDigitalPtzEnabled());
    view.SetRotation(m_viewCommands.CurrentRotation());
    PictureView::RegionNames names;
    const MotionSettings motion = m_camera.Known().Motion(ViewedStream());
    for (std::size_t i = 0; i < names.size(); ++i)
        names[i] = MotionName(motion.windows[i].name);
    view.SetRegionNames(names);
    FollowView();
    InvalidateControl();
}

void CNorixSDKCtrl::OnAmbientPropertyChange(DISPID id) {
    if (id != DISPID_AMBIENT_UIDEAD && id != DISPID_UNKNOWN) return;
    VARIANT dead;
    // The release of a button that is down comes too late.
    m_mouse.Forget();
    if (HasWindow() && GetCapture() == Handle()) ReleaseCapture();
    m_userInterfaceDead =
        Embedding().GetAmbient(DISPID_AMBIENT_UIDEAD, VT_BOOL, dead) && dead.boolVal != VARIANT_FALSE;
}

// What a container saves may be sent around: the passwords of addresses stay here.
void CNorixSDKCtrl::OnSaveProperty(const framework::DispatchMember& member, VARIANT& value) {
    constexpr DISPID kMediaServiceUri = 74;
    constexpr DISPID kStreamUri = 76;
    if (member.id != kMediaServiceUri && member.id != kStreamUri) return;
    const std::string address = util::WideToUtf8(framework::AutomationType<framework::Text>::Read(value));
    VariantClear(&value);
    framework::WriteVariant<framework::Text>(value, util::Utf8ToWide(WithoutPassword(address)));
}

LRESULT CNorixSDKCtrl::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    // While it fills the screen, a key or a click is no wish that it do so again.
    if (IsUserInput(message) && !m_fullScreen.IsOn()) m_trust.OnUserInput();
    switch (message) {
        case WM_CREATE: {
            const LRESULT result = COleControl::OnMessage(message, wParam, lParam);
            return FAILED(result) ? result : OnCreate();
        }
        case WM_DESTROY:
            OnDestroy();
            break;
        case WM_TIMER:
            OnTimer(wParam);
            return 0;
        case WM_SIZE:
            OnSize();
            break;
        case WM_KEYDOWN:
            if (wParam != VK_ESCAPE || !m_fullScreen.IsOn()) break;
            ReturnToPlace();
            return 0;
        case WM_CLOSE:  // what Alt+F4 means while it fills the screen
            ReturnToPlace();
            return 0;
        case WM_DISPLAYCHANGE:
            ReturnToPlace();
            m_session->param.displayChanged.Set(true);
            break;
        case WM_GETDLGCODE:
            return DLGC_WANTARROWS | DLGC_WANTCHARS;  // keys for the view, not the dialog
        default:
            if (OnPrivateMessage(message, wParam, lParam)) return 0;
            if (m_userInterfaceDead) break;
            m_viewCommands.OnPointer(message, wParam, lParam);
            if (m_mouse.OnMessage(message, wParam, lParam)) return 0;
    }
    return COleControl::OnMessage(message, wParam, lParam);
}

void CNorixSDKCtrl::ReturnToPlace() {
    if (!m_fullScreen.IsOn()) return;
    KillTimer(Handle(), kTimerFullScreen);
    const bool back = m_fullScreen.Leave();
    if (!back) {
        ::DestroyWindow(Handle());  // as it would have been with the window that it was in
        return;
    }
    // Getting the focus back, the host may have had it fill the screen again.
    if (m_fullScreen.IsOn()) return;
    InPlaceState().PlaceAfterAbsence();
    OnParentChanged();
}

// What the presenter has made for the window was made for its old place in the tree of windows. Wine's
// DirectDraw may go on drawing there, where nobody sees it.
void CNorixSDKCtrl::OnParentChanged() {
    m_session->param.displayChanged.Set(true);
}

bool CNorixSDKCtrl::OnTranslateAccelerator(const MSG& message) {
    const bool key = message.message == WM_KEYDOWN;
    if (key && message.wParam == VK_ESCAPE && m_fullScreen.IsOn()) {
        ReturnToPlace();
        return true;
    }
    // Containers would scroll by them.
    if (key && message.wParam >= VK_LEFT && message.wParam <= VK_DOWN && m_overlapped.Has(message.hwnd)) {
        DispatchMessageW(&message);
        return true;
    }
    return m_audioPanel.TranslateKey(message) || COleControl::OnTranslateAccelerator(message);
}

void CNorixSDKCtrl::OnSize() {
    m_audioPanel.Place();
    RECT client = {};
    GetClientRect(Handle(), &client);
    const PixelSize size{static_cast<int>(client.right), static_cast<int>(client.bottom)};
    // Stretched to nothing, objects could never be stretched back.
    if (size.IsEmpty()) return;
    const PixelSize before = std::exchange(m_windowSize, size);
    if (before == size) return;
    m_drawingCommands.Resize(before, size);
    FollowView();
}

void CNorixSDKCtrl::OnTimer(UINT_PTR id) {
    switch (id) {
        case kTimerReports:
            m_connection.OnReportsTimer();
            break;
        case kTimerStatistics:
            m_connection.OnStatisticsTimer();
            break;
        case kTimerAutoConnect:
            m_connection.OnAutoConnectTimer();
            break;
        case kTimerReconnect:
            m_connection.OnReconnectTimer();
            break;
        case kTimerFullScreen:
            if (!m_fullScreen.HasPlace()) ReturnToPlace();
            break;
        case kTimerDeferredView:
            m_viewCommands.OnDeferredViewTimer();
            break;
        default:
            break;
    }
}

void CNorixSDKCtrl::OpenDeliveries() {
    for (DeliveryGate* gate : {&m_dioStatusDelivery, &m_newFrameDelivery, &m_newPacketDelivery})
        gate->Open();
}

void CNorixSDKCtrl::CloseDeliveries() {
    for (DeliveryGate* gate : {&m_dioStatusDelivery, &m_newFrameDelivery, &m_newPacketDelivery})
        gate->Close();
}

}  // namespace norix
