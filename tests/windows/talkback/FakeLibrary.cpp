// A library as the maker's would be. NORIX_RIGHT: it serves our version. NORIX_FOREIGN: it gives an object of
// another version whatever it is asked for. NORIX_EMPTY: it exports nothing of ours.

#include <windows.h>

#include <cstring>

#include "audio/talkback/KsAudio.h"

namespace {

using namespace norix;

class Post final : public IKsAudioPost {
  public:
    // Tells the test, which shares nothing else with this module.
    Post() { SetEnvironmentVariableW(L"NORIX_TEST_POST", L"made"); }

    void KSAUDIO_CALL Release() noexcept override {
        SetEnvironmentVariableW(L"NORIX_TEST_POST", L"released");
        delete this;
    }
    std::uint32_t KSAUDIO_CALL InterfaceVersion() noexcept override {
#ifdef NORIX_FOREIGN
        return kKsAudioInterfaceVersion + 1;
#else
        return kKsAudioInterfaceVersion;
#endif
    }
    KsAudioResult KSAUDIO_CALL Start(const KsAudioTarget* target, KsAudioCallback callback,
                                     void* context) noexcept override {
        if (std::strcmp(target->user, "admin") != 0 || target->codec != 2 || target->sampleRate != 16000)
            return kKsAudioFail;
        callback(context, kKsAudioTalking);
        callback(context, kKsAudioBusy);
        callback(context, kKsAudioTalking);
        return kKsAudioOk;
    }
    void KSAUDIO_CALL Stop() noexcept override {
        SetEnvironmentVariableW(L"NORIX_TEST_POST", L"stopped");
    }
};

}  // namespace

#ifndef NORIX_EMPTY
extern "C" __declspec(dllexport) KsAudioResult KSAUDIO_EXPORT_CALL
    KsAudioCreatePost(std::uint32_t, IKsAudioPost** post) {
    *post = new Post;
    return kKsAudioOk;
}
#endif
