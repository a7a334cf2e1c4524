#include <winsock2.h>

#include "audio/talkback/TalkBack.h"

#include <utility>

#include "audio/talkback/WaveInDevice.h"
#include "util/Log.h"
#include "util/Redact.h"
#include "util/Settings.h"

namespace norix {
namespace {

/// Beyond all limits that a post keeps by itself: two connections with a second's wait each.
constexpr DWORD kAnswerLimitMs = 15000;

std::unique_ptr<VoiceInput> MakeMicrophone() {
    return std::make_unique<WaveInDevice>();
}

/// While one lives, sound is played lower: the microphone would hear it.
class Ducking {
  public:
    explicit Ducking(std::shared_ptr<CCtrlParam> param) : m_param(std::move(param)) {
        m_param->talkAttenuation.Set(static_cast<std::int32_t>(util::Settings::TalkAttenuation()));
        m_param->talkers.fetch_add(1);
    }
    ~Ducking() { m_param->talkers.fetch_sub(1); }
    Ducking(const Ducking&) = delete;
    Ducking& operator=(const Ducking&) = delete;

  private:
    const std::shared_ptr<CCtrlParam> m_param;
};

}  // namespace

std::unique_ptr<VoiceInput> (*TalkBack::makeInput)() = &MakeMicrophone;

bool TalkBack::Start(const TalkTarget& target) {
    Stop();
    m_progress = std::make_shared<TalkProgress>(
        [param = m_param] { param->window.Post(WM_OnTalkState, 0, 0); }, std::make_shared<Ducking>(m_param));
    m_library = AudioLibrary::Load();
    if (m_library) {
        NORIX_LOG("TalkBack::Start", 0, "%ls posts to %s", kKsAudioLibraryFile,
                  util::RedactSecrets(target.url).c_str());
        const KsAudioTarget wanted = {target.url.c_str(), target.user.c_str(), target.password.c_str(),
                                      static_cast<std::uint32_t>(target.format.codec),
                                      target.format.sampleRate};
        if (m_library->Start(wanted, m_progress)) return true;
    } else if (StartOwn(target)) {
        return true;
    }
    Stop();
    return false;
}

bool TalkBack::StartOwn(const TalkTarget& target) {
    m_waveIn = std::make_unique<CWaveIn>(makeInput(), m_progress);
    m_waveIn->SetAuthorization(target.user, target.password);
    m_waveIn->SetRoute(target.route);
    return m_waveIn->Open(target.format) && m_waveIn->PostUrlSending(target.url);
}

void TalkBack::Stop() {
    const auto library = std::exchange(m_library, nullptr);
    const auto waveIn = std::exchange(m_waveIn, nullptr);
    const auto progress = std::exchange(m_progress, nullptr);
    if (library) library->Stop();
    if (waveIn) waveIn->Close();
    if (progress) progress->Set(TalkState::Off);
}

bool TalkBack::AwaitAnswer() {
    const auto progress = m_progress;  // a sent message may end the talk
    return progress && progress->AwaitDecision(kAnswerLimitMs) && progress->State() == TalkState::Talking;
}

const wchar_t* TalkBack::OccupiedText() const {
    return m_library ? L"AudioPost is occupied!Please Try later!\n"
                     : L"AudioPost is occupied!Please Try later!";
}

}  // namespace norix
