#pragma once

// The contract between the control and the maker's ONVIF library "KsOnvifDll.dll". Nothing but what both
// sides of a module boundary agree on whatever compiler made them: 32-bit results, plain structures, no
// exceptions, no memory that one side allocates and the other one frees. Our own implementation serves the
// same interface.
//
// The library exports one function, under the undecorated name "KsOnvifCreateMedia" (see kKsOnvifCreateName).
// All text is UTF-8 and ends with a zero.

#include <cstdint>

#ifdef _WIN32
#define KSONVIF_CALL __stdcall
#define KSONVIF_EXPORT_CALL __cdecl
#else
#define KSONVIF_CALL
#define KSONVIF_EXPORT_CALL
#endif

namespace norix {

/// 32-bit result codes, as COM has them: negative is failure.
using KsOnvifResult = std::int32_t;
inline constexpr KsOnvifResult kKsOnvifOk = 0;
inline constexpr auto kKsOnvifNoInterface = static_cast<KsOnvifResult>(0x80004002u);  // unknown version
inline constexpr auto kKsOnvifNoObject = static_cast<KsOnvifResult>(0x80004003u);     // a pointer was null
inline constexpr auto kKsOnvifFail = static_cast<KsOnvifResult>(0x80004005u);
inline constexpr auto kKsOnvifDenied =
    static_cast<KsOnvifResult>(0x80070005u);  // the camera wants other credentials
inline constexpr auto kKsOnvifNoMemory = static_cast<KsOnvifResult>(0x8007000Eu);
inline constexpr auto kKsOnvifBadArgument = static_cast<KsOnvifResult>(0x80070057u);
inline constexpr auto kKsOnvifTooSmall = static_cast<KsOnvifResult>(0x8007007Au);  // the caller's buffer
inline constexpr auto kKsOnvifNotFound = static_cast<KsOnvifResult>(0x80070490u);  // no such profile
inline constexpr auto kKsOnvifTimeout = static_cast<KsOnvifResult>(0x800705B4u);   // no answer, or too late

/// How the stream is to travel.
enum KsOnvifTransport : std::uint32_t {
    kKsOnvifUdp = 1,   // RTP over UDP, to this receiver alone
    kKsOnvifTcp = 2,   // inside the RTSP connection
    kKsOnvifHttp = 3,  // inside RTSP tunnelled through HTTP
    kKsOnvifMulticast = 4,
};

/// How pictures are coded.
enum KsOnvifCodec : std::uint32_t {
    kKsOnvifAnyCodec = 0,
    kKsOnvifMpeg4 = 1,
    kKsOnvifJpeg = 2,
    kKsOnvifH264 = 4,
};

/// Whom to ask. Every pointer is valid, at least to an empty text, and only during the call.
struct KsOnvifCamera {
    const char* host;
    std::uint32_t port;    // of the web server
    std::uint32_t secure;  // not 0: HTTPS
    const char* user;      // empty: ask without credentials
    const char* password;
    const char* mediaService;  // the media service's full address; empty: the device service is asked for it
};

/// Room, with the final zero, that is enough for every profile token and stream address that can be used.
inline constexpr std::uint32_t kKsOnvifTokenRoom = 256;
inline constexpr std::uint32_t kKsOnvifUriRoom = 1024;

/// The media profiles and stream addresses of one camera. Used by one thread at a time; the calls block while
/// the camera is asked. A text is written whole or not at all.
class IKsOnvifMedia {
  public:
    /// These two keep their places in every version of the interface.
    virtual void KSONVIF_CALL Release() noexcept = 0;  // the object is gone afterwards
    virtual std::uint32_t KSONVIF_CALL InterfaceVersion() noexcept = 0;

    /// Names the camera that the other calls are about and forgets the one before. Whether it asks the camera
    /// already is its own affair.
    virtual KsOnvifResult KSONVIF_CALL Open(const KsOnvifCamera* camera) noexcept = 0;
    /// The token of the profile at the place `streamIndex`, counted from 1 among those of the camera's video
    /// source `channel`, counted from 1. `codec` is a KsOnvifCodec: where there are so many profiles of it,
    /// only those count.
    virtual KsOnvifResult KSONVIF_CALL GetProfileByIndex(std::uint32_t channel, std::uint32_t streamIndex,
                                                         std::uint32_t codec, char* token,
                                                         std::uint32_t room) noexcept = 0;
    /// Is there a profile with this token?
    virtual KsOnvifResult KSONVIF_CALL GetProfileByToken(const char* token) noexcept = 0;
    /// `transport` is a KsOnvifTransport.
    virtual KsOnvifResult KSONVIF_CALL GetStreamUri(const char* token, std::uint32_t transport, char* uri,
                                                    std::uint32_t room) noexcept = 0;
    /// Pictures per second that the profile's encoder is limited to; 0: the camera doesn't say.
    virtual KsOnvifResult KSONVIF_CALL GetFrameRateLimit(const char* token,
                                                         std::uint32_t* limit) noexcept = 0;

  protected:
    ~IKsOnvifMedia() = default;
};

/// Raised with every change to the interface above. A library that doesn't serve the version it is asked for
/// answers kKsOnvifNoInterface and leaves *media null. An object that nevertheless states another version is
/// released at once, without any other call. Either way our own implementation takes its place.
inline constexpr std::uint32_t kKsOnvifInterfaceVersion = 2;

inline constexpr wchar_t kKsOnvifLibraryFile[] = L"KsOnvifDll.dll";
inline constexpr char kKsOnvifCreateName[] = "KsOnvifCreateMedia";
using KsOnvifCreate = KsOnvifResult(KSONVIF_EXPORT_CALL*)(std::uint32_t interfaceVersion,
                                                          IKsOnvifMedia** media);

}  // namespace norix
