// Talking back: whom the control lets its host talk to, and what the user sees and hears of it.

#include "control/NorixSDKCtl.h"
#include "control/connection/StreamAddress.h"
#include "net/KnownServers.h"
#include "protocol/Url.h"
#include "util/Log.h"
#include "util/Text.h"

namespace norix {

using framework::Text;

namespace {

constexpr char kPostPath[] = "/kest-cgi/audiopost.cgi";

}  // namespace

bool CNorixSDKCtrl::AudioPost(bool enable) {
    return enable ? StartTalking({}, {}) : StopTalking();
}

bool CNorixSDKCtrl::AudioPostEx(bool enable, const Text& uri, short codec, long sampleRate) {
    if (!enable) return StopTalking();
    const auto format = ParseVoiceFormat(codec, sampleRate);
    if (!format) {
        NORIX_LOG("CNorixSDKCtrl::AudioPostEx", 1, "codec %d at %d Hz can't be posted", int{codec},
                  static_cast<int>(sampleRate));
        return false;
    }
    return StartTalking(util::WideToUtf8(uri), *format);
}

bool CNorixSDKCtrl::StopTalking() {
    m_talkWanted = false;
    m_talkBack.Stop();
    UpdateAudioPanel();
    return true;
}

/// Whether somebody sees the control: a script's has a window that is never shown.
bool CNorixSDKCtrl::IsSeen() const {
    return HasWindow() && IsWindowVisible(Handle()) && !m_userInterfaceDead;
}

/// Whether the voice may go to this host, which may be a question to the user.
bool CNorixSDKCtrl::MayTalkTo(const std::string& host) {
    if (!m_trust.Admit(host)) return false;
    const protocol::Origin web = m_camera.WebOrigin();
    const bool secure = web.scheme == "https" && web.host == protocol::plainHost(host);
    if ((secure || net::KnownServers::get().wantsSecurity(host)) &&
        m_connectionHost.JudgePlainStream(host) == PlainStream::Refused)
        return false;
    return m_trust.AdmitMicrophone(host);
}

/// An empty address is the camera's own.
bool CNorixSDKCtrl::StartTalking(std::string url, const VoiceFormat& format) {
    if (url.empty()) {
        const std::string camera(TypedHost(util::WideToUtf8(m_properties.serverIP)));
        if (camera.empty()) return false;
        url =
            "http://" + protocol::hostInUrl(camera) + ':' + std::to_string(m_properties.httpPort) + kPostPath;
    }
    const auto address = protocol::parseUrl(url);
    if (!address || address->scheme != "http") return false;
    m_talkWanted = true;
    const bool allowed = MayTalkTo(address->host);
    // While the user was asked, he may have let the button go, and the host may have done anything.
    if (!allowed || !m_talkWanted) return false;
    const SignIn signIn = m_camera.SignInFor(protocol::originOf(*address));
    const bool started =
        m_talkBack.Start({url, format, signIn.user, signIn.password, m_connectionHost.Route()});
    UpdateAudioPanel();
    if (!started || IsSeen()) return started;
    // Nobody is there to be told later.
    const bool taken = m_talkBack.AwaitAnswer();
    if (!taken) OnTalkState();
    return taken;
}

void CNorixSDKCtrl::OnTalkState() {
    const TalkState state = m_talkBack.State();
    UpdateAudioPanel();
    if (state == TalkState::Off || IsOn(state)) return;
    const std::wstring text = state == TalkState::Occupied ? m_talkBack.OccupiedText() : L"";
    StopTalking();
    if (text.empty() || !IsSeen()) return;
    const framework::InPlace::Modal modal(InPlaceState());
    m_talkBox.Show(Handle(), text.c_str(), L"info");
}

// ---- What the audio panel does

void CNorixSDKCtrl::SetTalk(bool talk) {
    if (m_userInterfaceDead) return UpdateAudioPanel();
    // By a message: starting may ask the user, inside of which the host may let the control go, and only the
    // control's own messages keep it alive. Ending is at once.
    if (!talk) {
        StopTalking();
    } else if (!m_talkBack.IsOn()) {
        m_talkWanted = true;
        PostMessageW(Handle(), WM_OnTalkWish, 0, 0);
    }
}

void CNorixSDKCtrl::OnTalkWish() {
    if (m_talkWanted && !m_talkBack.IsOn() && !AudioPost(true)) StopTalking();
}

int CNorixSDKCtrl::VoiceLevel() {
    return m_talkBack.Level();
}

void CNorixSDKCtrl::SetMicrophoneLevel(int level) {
    m_micVolume.Set(level);
    UpdateAudioPanel();
}

}  // namespace norix
