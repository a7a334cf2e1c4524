#include "include/RTSP/AccessUnitAssembler.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace norix {
namespace {

constexpr std::array<std::uint8_t, 4> kStartCode{0, 0, 0, 1};

}  // namespace

AccessUnitAssembler::AccessUnitAssembler(std::size_t capacity, NalSyntax syntax)
    : m_capacity(capacity),
      m_syntax(syntax),
      m_buffer(std::make_unique_for_overwrite<std::uint8_t[]>(capacity)) {}

void AccessUnitAssembler::Begin() {
    m_length = m_delimiterEnd = 0;
    m_vps = m_sps = m_pps = m_recoveryPoint = false;
    m_slice = m_firstSlice = m_delivered = false;
}

void AccessUnitAssembler::Note(const NalContents& contents) {
    m_vps = m_vps || contents.vps;
    m_sps = m_sps || contents.sps;
    m_pps = m_pps || contents.pps;
    if (contents.recoveryPoint) {
        m_recoveryPoint = true;
        m_recoveryFrames = contents.recoveryFrames;
    }
}

// Intra refresh has no other beginning than its recovery points; where all is said to be there at once, the
// picture has to be one that can.
bool AccessUnitAssembler::IsKey(const NalContents& contents) const {
    return contents.idr || (m_recoveryPoint && (m_recoveryFrames > 0 || contents.intra));
}

// Behind the delimiter, which has to be the first.
void AccessUnitAssembler::InsertHeader() {
    std::uint8_t* const at = m_buffer.get() + m_delimiterEnd;
    std::memmove(at + m_header.size(), at, m_length - m_delimiterEnd);
    std::copy(m_header.begin(), m_header.end(), at);
    m_length += m_header.size();
}

AccessUnitAssembler::Outcome AccessUnitAssembler::Append(ByteView nal) {
    nal = nal.subspan(StartCodeLength(nal));
    if (nal.empty()) return Outcome::Waiting;
    if (m_delivered) Begin();
    const NalContents contents = ContentsOf(m_syntax, nal);
    Note(contents);
    const bool firstSlice = contents.slice && contents.firstSlice;
    if (firstSlice) m_keyPicture = IsKey(contents);
    // Without its first slice, a picture may be another one than that which was key.
    const bool key =
        contents.slice && (firstSlice ? m_keyPicture : contents.idr || (m_keyPicture && contents.intra));
    const auto header = [&] { return firstSlice && key && !HasSets() ? m_header.size() : 0; };
    const auto needed = [&] { return nal.size() + kStartCode.size() + header(); };

    bool overflow = false;
    if (!Fits(needed())) {
        Begin();
        Note(contents);
        m_skipToKeyFrame = overflow = true;
        if (!Fits(needed())) {
            Begin();  // nor has anything that this unit brought come
            return Outcome::Overflow;
        }
    }
    if (header() > 0) InsertHeader();
    std::uint8_t* const at = m_buffer.get() + m_length;
    std::memcpy(at, kStartCode.data(), kStartCode.size());
    std::memcpy(at + kStartCode.size(), nal.data(), nal.size());
    if (contents.onlyDelimiter && m_length == 0) m_delimiterEnd = nal.size() + kStartCode.size();
    if (contents.parameterSets > 0) {
        const std::size_t end = m_length + kStartCode.size() + contents.parameterSets;
        // What the stream itself says counts from now on, as long as it is no novel.
        constexpr std::size_t kLongestHeader = 16 * 1024;
        if (HasSets() && end - m_delimiterEnd <= kLongestHeader)
            m_header.assign(m_buffer.get() + m_delimiterEnd, m_buffer.get() + end);
    }
    m_length += nal.size() + kStartCode.size();

    if (m_syntax == NalSyntax::H265) {
        m_slice = m_slice || contents.slice;
        m_firstSlice = m_firstSlice || firstSlice;
        return overflow ? Outcome::Overflow : Outcome::Waiting;
    }
    if (!contents.slice) return overflow ? Outcome::Overflow : Outcome::Waiting;
    // A later slice is not enough: the first may be what was dropped.
    if (key && (firstSlice || !m_skipToKeyFrame)) {
        m_skipToKeyFrame = false;
    } else if (m_skipToKeyFrame) {
        Begin();
        return overflow ? Outcome::Overflow : Outcome::Skipped;
    }
    m_delivered = true;
    return key ? Outcome::KeyFrame : Outcome::OtherFrame;
}

AccessUnitAssembler::Outcome AccessUnitAssembler::Finish() {
    if (!HasPicture()) return Outcome::Waiting;
    if (!m_firstSlice || (m_skipToKeyFrame && !m_keyPicture)) {
        Begin();
        return Outcome::Skipped;
    }
    if (m_keyPicture) m_skipToKeyFrame = false;
    m_delivered = true;
    return m_keyPicture ? Outcome::KeyFrame : Outcome::OtherFrame;
}

void AccessUnitAssembler::RememberAsHeader() {
    m_header.assign(m_buffer.get(), m_buffer.get() + m_length);
}

}  // namespace norix
