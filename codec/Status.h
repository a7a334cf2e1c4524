#pragma once

namespace codec {

/// Outcome of every operation of this library. Nothing here throws.
///
/// Zero is success, positive values are ordinary events that are not failures, negative values are failures
/// that cost the picture (or audio unit) at hand and nothing else: the object stays usable unless its own
/// header says otherwise.
enum class [[nodiscard]] Status : int{
    kOk = 0,

    /// The input was taken, and no picture is due yet: reordering, a lone first field, a skipped picture.
    kNoPicture = 1,
    /// The picture that is due has another size than the one last reported. It is kept: read the new size,
    /// then ask again without input.
    kSizeChanged = 2,

    kBadArgument = -1,     ///< null pointer, size or stride out of range: the caller's mistake
    kNotInitialised = -2,  ///< the operation needs a successful Initialise first
    kBadData = -3,         ///< damaged or truncated input; nothing came of it
    kUnsupported = -4,     ///< well-formed, but beyond what this library decodes, or beyond kMaxDimension
    kBufferTooSmall = -5,  ///< the caller's buffer cannot hold the result; nothing was written
    kOutOfMemory = -6,
    kNeedKeyFrame = -7,  ///< no stream parameters in the input: try again with the next key frame
};

constexpr bool Failed(Status status) {
    return static_cast<int>(status) < 0;
}

}  // namespace codec
