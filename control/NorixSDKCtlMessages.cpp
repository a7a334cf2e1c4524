// The private messages of worker threads: each becomes an event of the control.

#include <algorithm>

#include "control/Events.h"
#include "control/NorixSDKCtl.h"
#include "control/trust/TrustDialogs.h"
#include "framework/EntryPoint.h"
#include "framework/ScopedVariant.h"
#include "media/ControlMessages.h"
#include "ui/AuthenticationDialog.h"
#include "util/Format.h"
#include "util/Handles.h"
#include "util/Log.h"
#include "util/Text.h"

namespace norix {

namespace {

bool CarriesPointers(UINT message) {
    return message == WM_OnNewFrame || message == WM_OnRequestFileName || message == WM_OnNewPacket ||
           message == WM_OnSnapshotData;
}

/// Once a sent message's data have been copied: the worker that sent it need not wait for the host's handler,
/// and must not when the handler ends the connection, which waits for the worker.
void LetSenderGoOn() {
    ReplyMessage(0);
}

}  // namespace

bool CNorixSDKCtrl::OnPrivateMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    const auto first = static_cast<long>(wParam);
    const auto second = static_cast<long>(lParam);
    if (CarriesPointers(message) &&
        !m_session->param.window.IsBeingSent(message, reinterpret_cast<const void*>(wParam),
                                             reinterpret_cast<const void*>(lParam))) {
        return true;
    }
    m_session->param.window.TakeEvent(message, wParam, lParam);
    switch (message) {
        case WM_OnMotionWindowUpdate:
            OnMotionWindowUpdate(static_cast<std::size_t>(wParam));
            return true;
        case WM_OnSaveMotion:
            SaveMotion();
            return true;
        case WM_OnTalkState:
            OnTalkState();
            return true;
        case WM_OnTalkWish:
            OnTalkWish();
            return true;
        case WM_OnDIOStatus:
            m_dioStatusDelivery.Deliver([&] { FireEvent(events::OnDIOStatus, first, second); });
            return true;
        case WM_OnRecordStatus:
            OnRecordStatus(static_cast<RecordStatus>(first));
            return true;
        case WM_OnResolutionChanged:
            FollowView();
            FireEvent(events::OnResolutionChanged, first, second);
            return true;
        case WM_OnMDAlert:
            FireEvent(events::OnMDAlert, static_cast<short>(first), static_cast<short>(second));
            return true;
        case WM_OnNewFrame:
            OnNewFrame(reinterpret_cast<const void*>(wParam), reinterpret_cast<const void*>(lParam));
            return true;
        case WM_OnRequestFileName:
            if (wParam != 0) OnRequestFileName(*reinterpret_cast<const SYSTEMTIME*>(wParam));
            return true;
        case WM_OnNewPacket:
            OnNewPacket(reinterpret_cast<const void*>(wParam), reinterpret_cast<const void*>(lParam));
            return true;
        case WM_OnConnectStatus:
            m_connection.OnConnectStatus(static_cast<EConnectStatus>(first));
            return true;
        case WM_OnConnectStep:
            m_connection.OnStepDone(static_cast<unsigned>(wParam));
            return true;
        case WM_OnDisConnect:
            NORIX_LOG("CNorixSDKCtrl::OnDisconnect", 1,
                      "CNorixSDKCtrl::OnDisconnect() begins, received WM_OnDisConnect message");
            Disconnect();
            return true;
        case WM_OnForceI:
            OnForceI(first, second);
            return true;
        case WM_OnSnapshotData:
            OnSnapshotData(reinterpret_cast<const void*>(wParam),
                           reinterpret_cast<const SnapshotDescription*>(lParam));
            return true;
        case WM_OnIVAEvent:
            OnIVAEvent(first, second);
            return true;
        case WM_OnGeneralEvent:
            FireEvent(events::OnGeneralEvent, first, (second >> 8) & 0xFF, second & 0xFF);
            return true;
        case WM_OnShowAuthDialog:
            OnShowAuthDialog();
            return true;
        default:
            return false;
    }
}

void CNorixSDKCtrl::OnForceI(long channel, long stream) {
    m_camera.RequestKeyFrame(channel, stream);
}

void CNorixSDKCtrl::OnNewFrame(const void* description, const void* bytes) {
    if (description == nullptr || bytes == nullptr) return;
    m_newFrameDelivery.Deliver([&] {
        const NewFrameDescription frame = *static_cast<const NewFrameDescription*>(description);
        ByteArrayVariant data(bytes, frame.byteLength);
        LetSenderGoOn();
        FireEvent(events::OnNewFrame, static_cast<long>(frame.frameType), static_cast<long>(frame.byteLength),
                  frame.signal != 0, data.Get());
    });
}

// Packets are taken over like frames, but there is no event for them: hosts that asked for packets get none.
void CNorixSDKCtrl::OnNewPacket(const void* description, const void* bytes) {
    if (description == nullptr || bytes == nullptr) return;
    m_newPacketDelivery.Deliver([&] {
        const ByteArrayVariant data(bytes, static_cast<const NewFrameDescription*>(description)->byteLength);
    });
}

void CNorixSDKCtrl::OnRequestFileName(const SYSTEMTIME& time) {
    const std::string text =
        util::Format("%d_%02d_%02d_%02d_%02d_%02d_%u", time.wYear, time.wMonth, time.wDay, time.wHour,
                     time.wMinute, time.wSecond, time.wMilliseconds);
    // The recorder waits for the answer, not for the handler: that one may end the recording, or the control.
    LetSenderGoOn();
    const std::wstring asked = util::AnsiToWide(text);
    framework::ScopedVariant name;
    framework::WriteVariant<framework::Text>(name, asked);
    FireEvent(events::OnRequestFileName, &name);
    const std::wstring before = m_properties.recordFileName;
    const VARIANT& answer = name;
    if (answer.vt == VT_BSTR && util::BstrView(answer.bstrVal) != asked)
        m_properties.recordFileName = util::BstrView(answer.bstrVal);
    const bool renamed = m_properties.recordFileName != before;
    ApplyRecordSettings();
    m_recorder.OnNameAnswered();
    if (renamed) NotifyChanged(L"RecordFileName");
}

void CNorixSDKCtrl::OnSnapshotData(const void* bytes, const SnapshotDescription* picture) {
    if (bytes == nullptr || picture == nullptr) return;
    const SnapshotDescription taken = *picture;
    ByteArrayVariant data(bytes, taken.byteLength);
    LetSenderGoOn();
    // A handler that asks for the next one and lets messages in gets it inside of itself, but not without
    // end: each has its own copy of a picture.
    constexpr int kDeepest = 4;
    const std::shared_ptr<SessionContext> session = m_session;
    if (++m_snapshotDepth == kDeepest) session->param.snapshots.HoldData(true);
    FireEvent(events::OnNotifySnapshotData, static_cast<long>(taken.format), static_cast<long>(taken.width),
              static_cast<long>(taken.height), static_cast<long>(taken.byteLength), data.Get());
    if (m_snapshotDepth-- == kDeepest) session->param.snapshots.HoldData(false);
}

void CNorixSDKCtrl::OnIVAEvent(long index, long functionType) {
    const std::wstring text = L"{ \"index\": " + std::to_wstring(index) + L", \"function_type\": " +
                              std::to_wstring(functionType) + L" }";
    util::UniqueBstr json = util::MakeBstr(text);
    if (!json) return;
    BSTR replaceable = json.Release();  // a handler may put another text in its place
    FireEvent(events::OnIVAEvent, index, functionType, &replaceable);
    SysFreeString(replaceable);
}

void CNorixSDKCtrl::OnTextDropped(const std::wstring& text) {
    util::UniqueBstr address = util::MakeBstr(text);
    if (!address) return;
    BSTR replaceable = address.Release();
    FireEvent(events::OnDrop, &replaceable);
    SysFreeString(replaceable);
}

void CNorixSDKCtrl::OnShowAuthDialog() {
    // Another rejection may come while the user is still typing.
    if (!m_properties.showUserAuthenticationDialog || m_signInDialog.IsOpen()) return;
    SignIns& who = m_camera.Who();
    m_signInWanting = who.Wanting(m_camera.WebOrigin());
    AuthenticationDialog::View view;
    view.server = ForReading(m_signInWanting.back().host);
    if (m_trust.IsWeb()) view.page = ForReading(m_trust.Page().origin);
    view.initial = {m_properties.username, m_properties.password};
    view.wrongBefore =
        std::any_of(m_signInWanting.begin(), m_signInWanting.end(),
                    [&](const protocol::Origin& origin) { return !who.For(origin).user.empty(); });
    m_signInDialog.Show(Handle(), std::move(view));
}

void CNorixSDKCtrl::OnSignInEntered(const Credentials& entered, bool remember) {
    const framework::KeepAlive<CNorixSDKCtrl> keep(*this);  // the host hears of new properties
    const SignIn signIn = {util::WideToUtf8(entered.user), util::WideToUtf8(entered.password)};
    for (const protocol::Origin& origin : m_signInWanting)
        m_camera.Who().Bind(origin, signIn, remember ? SignIns::Source::kTyped : SignIns::Source::kTypedOnce);
    if (!m_trust.IsWeb()) {
        m_properties.username = entered.user;
        m_properties.password = entered.password;
        m_camera.Who().MarkHostsAsTyped(true);
        NotifyChanged(L"username");
        NotifyChanged(L"password");
    }
    m_connection.OnSignedIn();
}

void CNorixSDKCtrl::WithdrawSignIn() {
    m_signInDialog.Close();
    MSG message;
    while (HasWindow() &&
           PeekMessageW(&message, Handle(), WM_OnShowAuthDialog, WM_OnShowAuthDialog, PM_REMOVE)) {
        if (message.message != WM_QUIT) continue;  // it passes every filter
        PostQuitMessage(static_cast<int>(message.wParam));
        return;
    }
}

}  // namespace norix
