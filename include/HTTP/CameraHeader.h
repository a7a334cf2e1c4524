#pragma once

// The camera's header before a frame, as far as it says where the frame ends (docs/camera-interface.md).
// Pure.

#include <cstddef>

#include "include/HTTP/ReplyHead.h"

namespace norix::http {

struct CameraHeader {
    std::size_t length = 0;  // of the header
    std::size_t total = 0;   // of header and frame; 0: the header doesn't say
};

inline constexpr std::size_t kCameraHeaderBegin = 9;  // bytes after which all of the above is known
inline constexpr std::size_t kSoundHeaderLength = 32;

/// Whether these are the first bytes of such a header, as far as there are any. At least one byte.
bool MayBePictureHeader(Bytes bytes);
/// At least kCameraHeaderBegin bytes, which MayBePictureHeader.
CameraHeader ReadPictureHeader(Bytes bytes);

bool MayBeSoundHeader(Bytes bytes);
CameraHeader ReadSoundHeader(Bytes bytes);

/// FF D8, as far as there are bytes.
bool MayBePicture(Bytes bytes);
bool IsPicture(Bytes bytes);

}  // namespace norix::http
