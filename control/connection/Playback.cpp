#include "control/connection/Playback.h"

#include <utility>

#include "audio/AudioControl.h"
#include "media/CtrlParam.h"
#include "render/decode/Decoder.h"
#include "render/overlay/GraphicObjects.h"
#include "render/present/DisplayChoice.h"

namespace norix {

Playback::~Playback() {
    Close();
}

std::shared_ptr<CDecoder> Playback::Decoder() const {
    std::lock_guard<std::mutex> lock(m_lock);
    return m_decoder;
}

// ---- Receiving threads

// Closing comes after the receiving threads have ended. The connection's end is known before that: a thread
// that then went on to open devices would be waited for.
bool Playback::IsEnding() const {
    return m_closed || m_param->IsClosing();
}

void Playback::Start() {
    std::lock_guard<std::mutex> starting(m_starting);
    StartDecoder();
    StartAudio();
}

namespace {

bool NeedsGdi(const CDecoder& decoder, const CCtrlParam& param) {
    return param.forceGDI.Get() || decoder.View()->CurrentLayout().rotation != Rotation::k0;
}

std::shared_ptr<Presenter> MakePresenter(const CDecoder& decoder, CCtrlParam& param, bool forceGdi) {
    const HWND window = param.window.Get();
    const DisplayChoice choice = ChooseDisplayMode(forceGdi, decoder.Kind(), window);
    param.directDrawAvailable.Set(choice.directDrawAvailable);
    PresenterConfig config;
    config.videoWindow = window;
    config.notifyWindow = window;
    config.view = decoder.View();
    config.overlays = decoder.Overlays();
    config.decoderKind = decoder.Kind();
    config.waitForVerticalBlank = decoder.Settings().enableVSync;
    config.smoothScaling = decoder.Settings().smoothScaling;
    return CreatePresenter(choice.mode, config);
}

}  // namespace

void RenewPresenter(CDecoder& decoder, CCtrlParam& param) {
    const bool gdi = NeedsGdi(decoder, param);
    if (decoder.IsGdiForced() != gdi) decoder.SetPresenter(MakePresenter(decoder, param, gdi), gdi);
}

void Playback::StartDecoder() {
    const VideoCodec codec = m_param->videoCodec.Get();
    {
        std::lock_guard<std::mutex> lock(m_lock);
        const bool wanted = codec != VideoCodec::None && m_param->mediaType.Get() != MediaType::Audio;
        if (IsEnding() || m_decoder != nullptr || !wanted) return;
    }
    // Without the lock: making a presenter may have to wait for the window's thread.
    auto decoder = std::make_shared<CDecoder>(static_cast<std::uint32_t>(codec));
    decoder->AttachWindow(m_param->window.Get());
    decoder->AttachView(m_view);
    while (true) {
        const bool gdi = NeedsGdi(*decoder, *m_param);
        decoder->SetPresenter(MakePresenter(*decoder, *m_param, gdi), gdi);
        std::lock_guard<std::mutex> lock(m_lock);
        if (IsEnding()) return;
        // Until it is known here, nobody else gives the decoder another presenter.
        if (NeedsGdi(*decoder, *m_param) != gdi) continue;
        if (decoder->CreateDisplayThread() != kResultOk || decoder->StartDecThread(m_param) != kResultOk)
            return;
        m_decoder = std::move(decoder);
        return;
    }
}

void Playback::StartAudio() {
    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (IsEnding() || m_audioTried || m_param->audioCodec.Get() == AudioCodec::None) return;
        m_audioTried = true;
    }
    auto audio = std::make_shared<CAudioControl>(m_param);
    if (!audio->OpenDevice()) {
        m_param->soundPlayed.Set(false);
        return;
    }
    std::lock_guard<std::mutex> lock(m_lock);
    if (IsEnding()) return;
    audio->StartAudioThread();
    m_audio = std::move(audio);
}

// ---- Window thread

void Playback::StopOutput() {
    if (const auto decoder = Decoder()) decoder->StopOutput();
}

bool Playback::Close() {
    std::shared_ptr<CDecoder> decoder;
    std::shared_ptr<CAudioControl> audio;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_closed = true;
        decoder = std::exchange(m_decoder, nullptr);
        audio = std::exchange(m_audio, nullptr);
    }
    const bool decoderEnded = !decoder || decoder->Stop();
    const bool audioEnded = !audio || audio->Stop();
    std::lock_guard<std::mutex> lock(m_lock);
    if (!decoderEnded || !audioEnded) m_ended = false;
    return m_ended;
}

}  // namespace norix
