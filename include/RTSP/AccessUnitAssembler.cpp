#include "include/RTSP/AccessUnitAssembler.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

namespace norix {
namespace {

constexpr std::array<std::uint8_t, 4> kStartCode{0, 0, 0, 1};

// ITU-T H.264, table 7-1.
constexpr unsigned kTypeMask = 0x1F;
constexpr unsigned kNonIdrSlice = 1;
constexpr unsigned kIdrSlice = 5;
constexpr unsigned kSei = 6;

// Some cameras send message and slice as one unit: the slice's type is behind the start code inside.
std::optional<unsigned> TypeBehindSei(ByteView nal) {
    constexpr std::size_t kSearched = 100;
    if (nal.size() <= kStartCode.size()) return std::nullopt;
    const std::size_t end = std::min(kSearched, nal.size() - kStartCode.size());
    for (std::size_t i = 0; i < end; ++i) {
        if (std::memcmp(&nal[i], kStartCode.data(), kStartCode.size()) == 0)
            return nal[i + kStartCode.size()] & kTypeMask;
    }
    return std::nullopt;
}

}  // namespace

AccessUnitAssembler::AccessUnitAssembler(std::size_t capacity)
    : m_capacity(capacity), m_buffer(std::make_unique_for_overwrite<std::uint8_t[]>(capacity)) {}

AccessUnitAssembler::Outcome AccessUnitAssembler::Append(ByteView nal) {
    if (nal.empty()) return Outcome::Waiting;
    if (std::exchange(m_delivered, false)) m_length = 0;
    const std::size_t size = nal.size() + kStartCode.size();
    bool overflow = false;
    if (size > m_capacity - m_length) {
        Drop();
        m_skipToKeyFrame = overflow = true;
        if (size > m_capacity - m_length) return Outcome::Overflow;
    }
    std::memcpy(m_buffer.get() + m_length, kStartCode.data(), kStartCode.size());
    std::memcpy(m_buffer.get() + m_length + kStartCode.size(), nal.data(), nal.size());
    m_length += size;

    unsigned type = nal[0] & kTypeMask;
    if (type == kSei) type = TypeBehindSei(nal).value_or(type);
    if (type == kIdrSlice) {
        m_skipToKeyFrame = false;
    } else if (type != kNonIdrSlice) {
        return overflow ? Outcome::Overflow : Outcome::Waiting;
    } else if (m_skipToKeyFrame) {
        Drop();
        return overflow ? Outcome::Overflow : Outcome::Skipped;
    }
    m_delivered = true;
    return type == kIdrSlice ? Outcome::KeyFrame : Outcome::OtherFrame;
}

void AccessUnitAssembler::RememberAsHeader() {
    m_header.assign(m_buffer.get(), m_buffer.get() + m_length);
}

void AccessUnitAssembler::Drop() {
    std::copy(m_header.begin(), m_header.end(), m_buffer.get());
    m_length = m_header.size();
}

}  // namespace norix
