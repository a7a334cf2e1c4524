#include "include/RTSP/FrameRules.h"

#include <cmath>
#include <cstddef>
#include <cstring>

#include "protocol/Text.h"

namespace norix {

int VopCodingType(ByteView frame) {
    constexpr std::uint8_t kVopStartCode = 0xB6;  // behind 00 00 01 (ISO/IEC 14496-2, 6.2.1)
    constexpr std::size_t kPrefix = 3;
    constexpr unsigned kTypeShift = 6;
    if (frame.size() <= kPrefix + 1) return 0;
    // The last byte of the code is the rare one: whole JPEG pictures are searched in vain. A byte has to
    // follow it.
    const std::uint8_t* at = frame.data() + kPrefix;
    const std::uint8_t* const last = frame.data() + frame.size() - 1;
    while (at < last) {
        at = static_cast<const std::uint8_t*>(
            std::memchr(at, kVopStartCode, static_cast<std::size_t>(last - at)));
        if (!at) return 0;
        if (at[-1] == 1 && at[-2] == 0 && at[-3] == 0) return at[1] >> kTypeShift;
        ++at;
    }
    return 0;
}

bool HasVolHeader(ByteView frame) {
    // 00 00 01 20 to 00 00 01 2F, before the picture (ISO/IEC 14496-2, 6.2.1)
    constexpr std::uint8_t kVop = 0xB6;
    for (std::size_t at = 3; at < frame.size(); ++at) {
        if (frame[at - 1] != 1 || frame[at - 2] != 0 || frame[at - 3] != 0) continue;
        if ((frame[at] & 0xF0) == 0x20) return true;
        if (frame[at] == kVop) return false;
    }
    return false;
}

std::vector<std::uint8_t> AacConfigFromText(std::string_view text) {
    std::vector<std::uint8_t> bytes(text.size());
    for (std::size_t k = 0; 2 * k + 1 < text.size(); ++k) {
        const int high = protocol::hexDigit(text[2 * k]);
        const int low = protocol::hexDigit(text[2 * k + 1]);
        if (high >= 0 && low >= 0) bytes[k] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return bytes;
}

std::uint32_t PtsFromSeconds(double seconds) {
    constexpr double kMilliseconds = 1000.0;
    constexpr double kLimit = 9.0e15;  // what a double still counts one by one
    const double milliseconds = seconds * kMilliseconds;
    if (!(std::fabs(milliseconds) < kLimit)) return 0;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(milliseconds));
}

}  // namespace norix
