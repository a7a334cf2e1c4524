#include "audio/talkback/AudioLibrary.h"

#include <cstring>
#include <utility>

#include "util/Log.h"

namespace norix {
namespace {

constexpr char kWhere[] = "AudioLibrary::Load";

KsAudioCreate CreationFunction(HMODULE library) {
    const FARPROC address = GetProcAddress(library, kKsAudioCreateName);
    KsAudioCreate create = nullptr;
    static_assert(sizeof create == sizeof address);
    std::memcpy(&create, &address, sizeof create);
    return create;
}

TalkState StateOf(std::uint32_t event) {
    switch (event) {
        case kKsAudioTalking:
            return TalkState::Talking;
        case kKsAudioBusy:
            return TalkState::Occupied;
        case kKsAudioDenied:
            return TalkState::Refused;
        case kKsAudioNoMicrophone:
            return TalkState::NoMicrophone;
        default:
            return TalkState::Ended;
    }
}

}  // namespace

std::unique_ptr<AudioLibrary> AudioLibrary::Load(const std::wstring& folder) {
    if (folder.empty()) return nullptr;
    const std::wstring path = folder + kKsAudioLibraryFile;
    util::UniqueModule library(LoadLibraryExW(
        path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
    if (!library) return nullptr;
    const KsAudioCreate create = CreationFunction(library.Get());
    IKsAudioPost* post = nullptr;
    const KsAudioResult result = create ? create(kKsAudioInterfaceVersion, &post) : kKsAudioFail;
    const unsigned version = post ? post->InterfaceVersion() : 0;
    if (result >= 0 && version == kKsAudioInterfaceVersion)
        return std::unique_ptr<AudioLibrary>(new AudioLibrary(std::move(library), post));
    NORIX_LOG(kWhere, 1, "%ls is of no use: 0x%08x, version %u", kKsAudioLibraryFile,
              static_cast<unsigned>(result), version);
    if (post) post->Release();
    return nullptr;
}

AudioLibrary::AudioLibrary(util::UniqueModule library, IKsAudioPost* post)
    : m_library(std::move(library)), m_post(post) {}

AudioLibrary::~AudioLibrary() {
    Stop();
    m_post->Release();
}

// On any thread, until Stop has returned.
void KSAUDIO_CALL AudioLibrary::OnEvent(void* context, std::uint32_t event) noexcept {
    static_cast<TalkProgress*>(context)->Set(StateOf(event));
}

bool AudioLibrary::Start(const KsAudioTarget& target, std::shared_ptr<TalkProgress> progress) {
    m_progress = std::move(progress);
    const KsAudioResult result = m_post->Start(&target, &OnEvent, m_progress.get());
    if (result < 0) {
        NORIX_LOG(kWhere, 1, "%ls doesn't start: 0x%08x", kKsAudioLibraryFile, static_cast<unsigned>(result));
    }
    return result >= 0;
}

void AudioLibrary::Stop() {
    m_post->Stop();
}

}  // namespace norix
