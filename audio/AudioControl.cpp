#include "audio/AudioControl.h"

#include <utility>

#include "audio/AudioLoop.h"
#include "audio/SystemClock.h"
#include "audio/WaveOutDevice.h"
#include "util/Log.h"
#include "util/Settings.h"

namespace norix {

CAudioControl::CAudioControl(std::shared_ptr<CCtrlParam> param)
    : m_playback(std::make_shared<AudioPlayback>()) {
    m_playback->param = std::move(param);
    m_playback->enableTimeSync = util::Settings::EnableTimeSync();
    m_playback->device = std::make_unique<WaveOutDevice>();
}

CAudioControl::~CAudioControl() {
    Stop();
    // The device goes with the last owner, which is the thread only if it was abandoned.
}

bool CAudioControl::Stop() {
    m_playback->running.store(false);
    if (!m_thread.Stop()) m_ended = false;
    return m_ended;
}

bool CAudioControl::OpenDevice() {
    return !m_thread.Started() && OpenForStream(*m_playback->param, *m_playback->device);
}

Result CAudioControl::StartAudioThread() {
    if (m_thread.Started()) return kResultOk;
    const bool started = m_thread.Start(THREAD_PRIORITY_HIGHEST, [playback = m_playback](util::StopToken&) {
        NORIX_LOG("CAudioControl::DecodeAudio", 0, "CAudioControl::DecodeAudio() begins");
        SystemClock clock;
        AudioLoop(*playback, clock).Run();
        NORIX_LOG("CAudioControl::DecodeAudio", 0, "CAudioControl::DecodeAudio() ends");
    });
    if (!started) return kResultFail;
    NORIX_LOG("CAudioControl::StartAudioThread", 0,
              "Create Audio thread (handle = 0x%08X, id = %d) with highest priority.",
              static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(m_thread.Handle())),
              static_cast<int>(m_thread.Id()));
    return kResultOk;
}

}  // namespace norix
