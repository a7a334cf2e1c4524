#pragma once

// The contract between the control and the maker's audio library "KsAudioDll.dll". Nothing but what both
// sides of a module boundary agree on whatever compiler made them: 32-bit results, plain structures, no
// exceptions, no memory that one side allocates and the other one frees. Where the library isn't there, our
// own talk-back (WaveIn.h) does the same.
//
// The library exports one function, under the undecorated name "KsAudioCreatePost" (see kKsAudioCreateName).
// All text is UTF-8 and ends with a zero.

#include <cstdint>

#define KSAUDIO_CALL __stdcall
#define KSAUDIO_EXPORT_CALL __cdecl

namespace norix {

/// 32-bit result codes, as COM has them: negative is failure.
using KsAudioResult = std::int32_t;
inline constexpr KsAudioResult kKsAudioOk = 0;
inline constexpr auto kKsAudioNoInterface = static_cast<KsAudioResult>(0x80004002u);  // unknown version
inline constexpr auto kKsAudioFail = static_cast<KsAudioResult>(0x80004005u);

/// Where the voice goes, and how. Every pointer is valid, at least to an empty text, and only during the
/// call.
struct KsAudioTarget {
    const char* uri;   // "http://host:port/path"
    const char* user;  // empty: nobody signs in
    const char* password;
    std::uint32_t codec;       // 1 G.711 mu-law, 2 AAC-LC, 3 PCM
    std::uint32_t sampleRate;  // Hz
};

/// What has become of a post.
enum KsAudioEvent : std::uint32_t {
    kKsAudioTalking = 1,  // the camera takes the voice
    kKsAudioBusy = 2,     // it is occupied
    kKsAudioDenied = 3,   // it wants another sign-in
    kKsAudioEnded = 4,    // it has ended the post, or was never reached
    kKsAudioNoMicrophone = 5,
};

/// Called by the library on any thread; `context` is what Start was given. Must not wait, and must not call
/// the library.
using KsAudioCallback = void(KSAUDIO_CALL*)(void* context, std::uint32_t event) noexcept;

/// One post. Used by one thread at a time.
class IKsAudioPost {
  public:
    /// These two keep their places in every version of the interface.
    virtual void KSAUDIO_CALL Release() noexcept = 0;  // stops; the object is gone afterwards
    virtual std::uint32_t KSAUDIO_CALL InterfaceVersion() noexcept = 0;

    /// Begins to post the default microphone, and returns soon.
    virtual KsAudioResult KSAUDIO_CALL Start(const KsAudioTarget* target, KsAudioCallback callback,
                                             void* context) noexcept = 0;
    /// The microphone is off and nothing is called back any more when it returns.
    virtual void KSAUDIO_CALL Stop() noexcept = 0;

  protected:
    ~IKsAudioPost() = default;
};

/// Raised with every change to the interface above. A library that doesn't serve the version it is asked for
/// answers kKsAudioNoInterface and leaves *post null. An object that nevertheless states another version is
/// released at once, without any other call. Either way our own talk-back takes its place.
inline constexpr std::uint32_t kKsAudioInterfaceVersion = 1;

inline constexpr wchar_t kKsAudioLibraryFile[] = L"KsAudioDll.dll";
inline constexpr char kKsAudioCreateName[] = "KsAudioCreatePost";
using KsAudioCreate = KsAudioResult(KSAUDIO_EXPORT_CALL*)(std::uint32_t interfaceVersion,
                                                          IKsAudioPost** post);

}  // namespace norix
