#include "include/HTTP/JpegWalker.h"

#include <cstring>

namespace norix::http {
namespace {

enum Marker : std::uint8_t {
    kStuffed = 0x00,
    kTem = 0x01,
    kRst0 = 0xD0,
    kRst7 = 0xD7,
    kSoi = 0xD8,
    kEoi = 0xD9,
    kSos = 0xDA,
    kFill = 0xFF,
};

}  // namespace

JpegWalker::State JpegWalker::Walk(Bytes picture) {
    if (m_at == 0) {
        if (picture.size() < 2) return State::More;
        m_at = 2;  // SOI
    }
    for (;;) {
        if (m_at >= picture.size()) return State::More;
        if (m_inScan) {
            const void* const next = std::memchr(picture.data() + m_at, 0xFF, picture.size() - m_at);
            m_at = next ? static_cast<std::size_t>(static_cast<const std::uint8_t*>(next) - picture.data())
                        : picture.size();
        }
        if (picture.size() < m_at + 2) return State::More;
        if (picture[m_at] != 0xFF) return State::Broken;
        const std::uint8_t marker = picture[m_at + 1];
        if (marker == kFill) {
            ++m_at;
        } else if (marker == kEoi) {
            m_at += 2;
            return State::End;
        } else if (marker == kTem || (marker >= kRst0 && marker <= kRst7) ||
                   (marker == kStuffed && m_inScan)) {
            m_at += 2;
        } else if (marker == kSoi || marker == kStuffed) {
            return State::Broken;
        } else {  // a segment, which may lie between scans too
            if (picture.size() < m_at + 4) return State::More;
            const std::size_t length = static_cast<std::size_t>(picture[m_at + 2]) << 8 | picture[m_at + 3];
            if (length < 2) return State::Broken;
            m_at += 2 + length;
            m_inScan = marker == kSos;
        }
    }
}

}  // namespace norix::http
