#pragma once

#include <cstdint>
#include <optional>

namespace norix {

enum class VideoStandard : std::int32_t { Unknown = 0, Ntsc = 1, Pal = 2 };

/// Cameras may state a frame rate as an index, 1 to 5, into the rates of their video standard. The frames per
/// second that `rate` stands for then; nothing when it is no such index, which is so for other standards and
/// for any explicit `frameRateType`. Pure.
std::optional<std::int32_t> FramesPerSecondOfIndex(std::int32_t standard, std::int32_t frameRateType,
                                                   std::int32_t rate);

}  // namespace norix
