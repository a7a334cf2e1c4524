#include "include/HTTP/BodyDecoder.h"

#include <algorithm>

#include "protocol/Text.h"

namespace norix::http {
namespace {

// Of a line, only the chunk's size in front matters; what follows are extensions.
constexpr std::size_t kKeptOfLine = 16;
constexpr std::size_t kLineLimit = 4096;

}  // namespace

BodyDecoder::BodyDecoder(bool chunked, std::optional<std::uint64_t> length)
    : m_part(chunked  ? Part::SizeLine
             : length ? Part::Counted
                      : Part::Unbounded),
      m_chunked(chunked),
      m_left(chunked ? 0 : length.value_or(0)) {
    m_line.reserve(kKeptOfLine);
}

BodyDecoder::State BodyDecoder::Next(Bytes& bytes, Bytes& body) {
    for (;;) {
        switch (m_part) {
            case Part::End:
                return State::End;
            case Part::Unbounded:
                if (bytes.empty()) return State::More;
                body = bytes;
                bytes = {};
                return State::Data;
            case Part::Counted:
                if (m_left != 0) return TakeData(bytes, body);
                m_part = m_chunked ? Part::AfterChunk : Part::End;
                break;
            case Part::SizeLine:
            case Part::AfterChunk:
            case Part::Trailer:
                if (!TakeLine(bytes)) return m_lineLength > kLineLimit ? State::Bad : State::More;
                if (!EndLine()) return State::Bad;
                break;
        }
    }
}

BodyDecoder::State BodyDecoder::TakeData(Bytes& bytes, Bytes& body) {
    if (bytes.empty()) return State::More;
    body = bytes.first(static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), m_left)));
    bytes = bytes.subspan(body.size());
    m_left -= body.size();
    return State::Data;
}

// True when the line's end was among the bytes.
bool BodyDecoder::TakeLine(Bytes& bytes) {
    while (!bytes.empty() && m_lineLength <= kLineLimit) {
        const char c = static_cast<char>(bytes.front());
        bytes = bytes.subspan(1);
        if (c == '\n') return true;
        ++m_lineLength;
        if (m_line.size() < kKeptOfLine) m_line += c;
    }
    return false;
}

// What a line means where it stands; false when it can't stand there.
bool BodyDecoder::EndLine() {
    std::string_view line = m_line;
    const bool empty = protocol::trim(line).empty();
    const auto size = protocol::parseHex(protocol::trim(protocol::take(line, ';')));
    m_line.clear();
    m_lineLength = 0;
    switch (m_part) {
        case Part::SizeLine:
            if (!size) return false;
            m_left = *size;
            m_part = m_left != 0 ? Part::Counted : Part::Trailer;
            return true;
        case Part::AfterChunk:
            m_part = Part::SizeLine;
            return empty;
        default:
            if (empty) m_part = Part::End;
            return true;
    }
}

}  // namespace norix::http
