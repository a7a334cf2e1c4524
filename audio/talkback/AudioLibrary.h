#pragma once

#include <memory>
#include <string>

#include "audio/talkback/KsAudio.h"
#include "audio/talkback/TalkProgress.h"
#include "util/Handles.h"
#include "util/OwnModule.h"

namespace norix {

/// One post by the maker's audio library. The window's thread.
class AudioLibrary {
  public:
    /// The library's, if it lies in `folder` and serves our version of the interface; else null. It is looked
    /// for nowhere else, and what it needs itself only beside it and in the system's folder.
    static std::unique_ptr<AudioLibrary> Load(const std::wstring& folder = util::OwnModuleFolder());

    ~AudioLibrary();
    AudioLibrary(const AudioLibrary&) = delete;
    AudioLibrary& operator=(const AudioLibrary&) = delete;

    /// What comes of it is told by the progress.
    bool Start(const KsAudioTarget& target, std::shared_ptr<TalkProgress> progress);
    void Stop();

  private:
    AudioLibrary(util::UniqueModule library, IKsAudioPost* post);
    static void KSAUDIO_CALL OnEvent(void* context, std::uint32_t event) noexcept;

    const util::UniqueModule m_library;
    IKsAudioPost* const m_post;  // Release gives it back
    std::shared_ptr<TalkProgress> m_progress;
};

}  // namespace norix
