#include "camera/FrameRateIndex.h"

#include <array>

namespace norix {

std::optional<std::int32_t> FramesPerSecondOfIndex(std::int32_t standard, std::int32_t frameRateType,
                                                   std::int32_t rate) {
    constexpr std::array<std::int32_t, 5> kNtsc{1, 3, 10, 15, 30};
    constexpr std::array<std::int32_t, 5> kPal{1, 3, 8, 12, 25};
    if (frameRateType != 0 || rate < 1 || rate > static_cast<std::int32_t>(kNtsc.size())) return std::nullopt;
    const auto index = static_cast<std::size_t>(rate - 1);
    switch (static_cast<VideoStandard>(standard)) {
        case VideoStandard::Ntsc:
            return kNtsc[index];
        case VideoStandard::Pal:
            return kPal[index];
        default:
            return std::nullopt;
    }
}

}  // namespace norix
