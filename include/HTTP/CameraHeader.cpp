#include "include/HTTP/CameraHeader.h"

#include <algorithm>
#include <array>

namespace norix::http {
namespace {

constexpr std::size_t kLengthEnd = 6;
constexpr std::size_t kShortestSection = 27;

std::size_t ReadTotal(Bytes bytes) {
    const std::size_t following = static_cast<std::size_t>(bytes[4]) << 8 | bytes[5];
    return following != 0 ? kLengthEnd + following : 0;
}

template <std::size_t N>
bool BeginsLike(Bytes bytes, const std::array<std::uint8_t, N>& pattern) {
    const std::size_t size = std::min(bytes.size(), N);
    return std::equal(pattern.begin(), pattern.begin() + size, bytes.begin());
}

constexpr std::array<std::uint8_t, 3> kStart = {0, 0, 1};
constexpr std::array<std::uint8_t, 4> kSoundStart = {0, 0, 1, 0xC0};
constexpr std::array<std::uint8_t, 2> kPictureStart = {0xFF, 0xD8};

}  // namespace

bool MayBePictureHeader(Bytes bytes) {
    if (!BeginsLike(bytes, kStart)) return false;
    if (bytes.size() > 3 && (bytes[3] & 0xF0) != 0xE0 && (bytes[3] & 0xF0) != 0xD0) return false;
    if (bytes.size() > 6 && bytes[6] != 0x80) return false;
    if (bytes.size() > 7 && bytes[7] != 0) return false;
    return bytes.size() <= 8 || bytes[8] >= kShortestSection;
}

CameraHeader ReadPictureHeader(Bytes bytes) {
    return {kCameraHeaderBegin + bytes[8], ReadTotal(bytes)};
}

bool MayBeSoundHeader(Bytes bytes) {
    if (!BeginsLike(bytes, kSoundStart)) return false;
    if (bytes.size() < kLengthEnd) return true;
    const std::size_t total = ReadTotal(bytes);
    return total == 0 || total > kSoundHeaderLength;
}

CameraHeader ReadSoundHeader(Bytes bytes) {
    return {kSoundHeaderLength, ReadTotal(bytes)};
}

bool MayBePicture(Bytes bytes) {
    return BeginsLike(bytes, kPictureStart);
}

bool IsPicture(Bytes bytes) {
    return bytes.size() >= kPictureStart.size() && MayBePicture(bytes);
}

}  // namespace norix::http
