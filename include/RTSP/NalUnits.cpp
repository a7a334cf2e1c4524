#include "include/RTSP/NalUnits.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace norix {
namespace {

// ITU-T H.264, table 7-1.
constexpr unsigned kTypeMask = 0x1F;
constexpr unsigned kNonIdrSlice = 1;
constexpr unsigned kIdrSlice = 5;
constexpr unsigned kSei = 6;
constexpr unsigned kSps = 7;
constexpr unsigned kPps = 8;
constexpr unsigned kDelimiter = 9;
constexpr unsigned kRecoveryPoint = 6;  // payloadType of a message, D.1.1

// The first bytes of a unit without what prevents start codes in it (7.3.1).
class Payload {
  public:
    explicit Payload(ByteView nal) {
        unsigned zeros = 0;
        for (std::size_t at = 1; at < nal.size() && m_size < m_bytes.size(); ++at) {
            if (zeros >= 2 && nal[at] == 3) {
                zeros = 0;
                continue;
            }
            zeros = nal[at] == 0 ? zeros + 1 : 0;
            m_bytes[m_size++] = nal[at];
        }
    }
    ByteView Bytes() const { return {m_bytes.data(), m_size}; }

  private:
    std::array<std::uint8_t, 256> m_bytes;
    std::size_t m_size = 0;
};

// ue(v), 9.1; nothing past the end.
class GolombReader {
  public:
    explicit GolombReader(ByteView bytes) : m_bytes(bytes) {}
    std::optional<std::uint32_t> Take() {
        unsigned zeros = 0;
        while (true) {
            const auto bit = Bit();
            if (!bit || zeros > 31) return std::nullopt;
            if (*bit) break;
            ++zeros;
        }
        std::uint64_t value = 1;
        for (unsigned i = 0; i < zeros; ++i) {
            const auto bit = Bit();
            if (!bit) return std::nullopt;
            value = value << 1 | (*bit ? 1 : 0);
        }
        return static_cast<std::uint32_t>(value - 1);
    }

  private:
    std::optional<bool> Bit() {
        if (m_at >= m_bytes.size() * 8) return std::nullopt;
        const bool bit = (m_bytes[m_at / 8] >> (7 - m_at % 8) & 1) != 0;
        ++m_at;
        return bit;
    }
    ByteView m_bytes;
    std::size_t m_at = 0;
};

// How many pictures after it all is whole; nothing when the messages say nothing of the kind.
std::optional<std::uint32_t> RecoveryFrames(ByteView nal) {
    const Payload payload(nal);
    ByteView rest = payload.Bytes();
    // Type and size, each a sum of bytes that ends with the first one below 255.
    const auto number = [&rest](std::size_t& value) {
        value = 0;
        while (!rest.empty()) {
            const std::uint8_t byte = rest[0];
            rest = rest.subspan(1);
            value += byte;
            if (byte != 0xFF) return true;
        }
        return false;
    };
    std::size_t type = 0;
    std::size_t size = 0;
    while (rest.size() > 2 && number(type) && number(size)) {
        if (type == kRecoveryPoint) return GolombReader(rest.first(std::min(size, rest.size()))).Take();
        if (size > rest.size()) break;
        rest = rest.subspan(size);
    }
    return std::nullopt;
}

void ReadSlice(ByteView nal, NalContents& contents) {
    contents.slice = true;
    contents.idr = (nal[0] & kTypeMask) == kIdrSlice;
    const Payload header(nal.first(std::min<std::size_t>(nal.size(), 16)));
    GolombReader fields(header.Bytes());
    // What can't be read counts as the first one: then nothing is left out.
    contents.firstSlice = fields.Take().value_or(0) == 0;
    constexpr std::uint32_t kKinds = 5;  // from there on: all slices of the picture are of that kind
    constexpr std::uint32_t kI = 2, kSI = 4;
    const auto kind = fields.Take();
    contents.intra = kind && (*kind % kKinds == kI || *kind % kKinds == kSI);
}

// Where the next start code of three bytes stands; the end when there is none.
std::size_t NextStartCode(ByteView bytes, std::size_t from) {
    // Its last byte is rarer than zeros are.
    std::size_t at = from + 2;
    while (at < bytes.size()) {
        const void* const found = std::memchr(&bytes[at], 1, bytes.size() - at);
        if (!found) break;
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - bytes.data());
        if (bytes[at - 1] == 0 && bytes[at - 2] == 0) return at - 2;
        ++at;
    }
    return bytes.size();
}

}  // namespace

std::size_t StartCodeLength(ByteView nal) {
    if (nal.size() < 3 || nal[0] != 0 || nal[1] != 0) return 0;
    if (nal[2] == 1) return 3;
    return nal.size() > 3 && nal[2] == 0 && nal[3] == 1 ? 4 : 0;
}

NalContents ContentsOf(ByteView nal) {
    NalContents contents;
    std::size_t at = StartCodeLength(nal);
    for (bool first = true; at < nal.size(); first = false) {
        const ByteView rest = nal.subspan(at);
        const unsigned type = rest[0] & kTypeMask;
        if (type == kNonIdrSlice || type == kIdrSlice) {
            ReadSlice(rest, contents);
            return contents;
        }
        const std::size_t next = NextStartCode(nal, at);
        if (type == kSps || type == kPps) {
            (type == kSps ? contents.sps : contents.pps) = true;
            contents.parameterSets = next;
        } else if (type == kSei) {
            if (const auto frames = RecoveryFrames(rest.first(next - at))) {
                contents.recoveryPoint = true;
                contents.recoveryFrames = *frames;
            }
        }
        contents.onlyDelimiter = first && type == kDelimiter && next == nal.size();
        at = next + 3;
    }
    return contents;
}

}  // namespace norix
