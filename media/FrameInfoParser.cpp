#include "media/FrameInfoParser.h"

#include <algorithm>
#include <span>

#include "util/H265Syntax.h"

namespace norix {
namespace {

namespace h264 = util::h264;
namespace h265 = util::h265;

using Bytes = std::span<const std::uint8_t>;

// The camera's header.
constexpr std::size_t kPesFixedSize = 9;  // up to and with the byte that says how long the rest is
constexpr std::size_t kPesLengthOffset = 8;

// The information section: its fixed fields...
constexpr std::uint8_t kSectionVersion = 1;
constexpr std::size_t kSectionFixedSize = 27;
constexpr std::uint8_t kFlagSignalLost = 0x01;
constexpr std::uint8_t kFlagDigitalIo = 0x02;
static_assert(kPesFixedSize + kSectionFixedSize == kCameraHeaderTimeOffset + 4);

// ...and the elements behind them: type, length, data.
enum ElementType : std::uint8_t {
    kElementPadding = 0,  // a single byte
    kElementRegion = 1,
    kElementMotionAlert = 2,
    kElementAnalytics = 3,
    kElementGeneral = 4,
};

// Marks a section inside a frame.
constexpr std::array<std::uint8_t, 16> kSectionId = {'N', 'o', 'r', 'i', 'x', 'F', 'r', 'a',
                                                     'm', 'e', 'I', 'n', 'f', 'o', '0', '1'};

// A section inside a frame lies near its start: this bounds the search in frames without one.
constexpr std::size_t kSearchLimit = 4096;
// Room for the identification and the longest section.
constexpr std::size_t kSectionMax = kSectionId.size() + 255;

constexpr std::uint8_t kMpeg4UserData = 0xB2;
constexpr std::uint8_t kMpeg4Vop = 0xB6;

std::uint16_t Read16(Bytes bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

std::uint32_t Read32(Bytes bytes, std::size_t at) {
    return static_cast<std::uint32_t>(Read16(bytes, at)) << 16 | Read16(bytes, at + 2);
}

RegionRecord ReadRegion(Bytes bytes) {
    RegionRecord region;
    region.enabled = bytes[0];
    region.x = Read16(bytes, 2);
    region.y = Read16(bytes, 4);
    region.width = Read16(bytes, 6);
    region.height = Read16(bytes, 8);
    region.threshold = bytes[10];
    region.level = bytes[11];
    return region;
}

void ReadElement(std::uint8_t type, Bytes data, ParsedFrameInfo& out) {
    switch (type) {
        case kElementRegion:
            if (data.size() >= 1 + sizeof(RegionRecord) && data[0] < kRegionCount) {
                out.info.regions[data[0]] = ReadRegion(data.subspan(1));
            }
            break;
        case kElementMotionAlert:
            if (data.size() >= 2) out.events.motionAlerts.Add({data[0], data[1]});
            break;
        case kElementAnalytics:
            if (data.size() >= 4) out.events.analytics.Add({Read16(data, 0), Read16(data, 2)});
            break;
        case kElementGeneral:
            if (data.size() >= 4) out.events.general.Add({Read16(data, 0), data[2], data[3]});
            break;
        default:  // of a later version
            break;
    }
}

void ReadSection(Bytes section, ParsedFrameInfo& out) {
    if (section.size() < kSectionFixedSize || section[0] != kSectionVersion) return;
    out.hasInformation = true;
    out.signal = (section[1] & kFlagSignalLost) == 0;
    if (section[1] & kFlagDigitalIo) {
        out.events.hasDigitalIo = true;
        out.events.digitalInputs = section[2];
        out.events.digitalOutputs = section[3];
        out.info.digitalIo = static_cast<std::uint32_t>(section[2]) << 16 | section[3];
    }
    out.info.referenceSize = Read32(section, 4);
    out.timeStampMs = Read32(section, 8);
    out.sequence = Read32(section, 12);
    out.timeSeconds = Read32(section, 23);

    Bytes rest = section.subspan(kSectionFixedSize);
    while (!rest.empty()) {
        if (rest[0] == kElementPadding) {
            rest = rest.subspan(1);
            continue;
        }
        if (rest.size() < 2 || rest.size() - 2 < rest[1]) return;  // cut off: what came before it counts
        const std::size_t length = rest[1];
        ReadElement(rest[0], rest.subspan(2, length), out);
        rest = rest.subspan(2 + length);
    }
}

// Bytes of the camera's header, 0 when the frame does not begin with one.
std::size_t CameraHeaderLength(Bytes frame) {
    if (frame.size() < kPesFixedSize || frame[0] != 0 || frame[1] != 0 || frame[2] != 1) return 0;
    const std::uint8_t kind = frame[3] & 0xF0;
    if (kind != 0xE0 && kind != 0xD0) return 0;
    const std::size_t length = kPesFixedSize + frame[kPesLengthOffset];
    return length >= kPesFixedSize + kSectionFixedSize && length <= frame.size() ? length : 0;
}

bool ReadIdentifiedSection(Bytes payload, ParsedFrameInfo& out) {
    if (payload.size() < kSectionId.size() ||
        !std::equal(kSectionId.begin(), kSectionId.end(), payload.begin())) {
        return false;
    }
    ReadSection(payload.subspan(kSectionId.size()), out);
    return true;
}

void ReadSei(Bytes messages, ParsedFrameInfo& out) {
    h264::ForEachSeiMessage(messages, [&out](std::uint32_t type, Bytes payload) {
        return type == h264::kUserDataUnregistered && ReadIdentifiedSection(payload, out);
    });
}

// Searches units up to the first slice; `kind` says what one with that first byte is.
enum class Unit { Slice, Messages, Other };

Unit H264Kind(std::uint8_t header) {
    const unsigned type = h264::TypeOf(header);
    if (type == h264::kSlice || type == h264::kIdrSlice) return Unit::Slice;
    return type == h264::kSei ? Unit::Messages : Unit::Other;
}

Unit H265Kind(std::uint8_t header) {
    const unsigned type = h265::TypeOf(header);
    if (h265::IsSlice(type)) return Unit::Slice;
    return type == h265::kPrefixSei ? Unit::Messages : Unit::Other;
}

void SearchUnits(Bytes frame, Unit (*kind)(std::uint8_t), std::size_t headerSize, ParsedFrameInfo& out) {
    std::array<std::uint8_t, 2 * kSectionMax> buffer;
    std::size_t start = h264::NextStartCode(frame, 0);
    while (start + 4 <= frame.size()) {
        const Unit unit = kind(frame[start + 3]);
        if (unit == Unit::Slice) return;
        const std::size_t end = h264::NextStartCode(frame, start + 3);
        const std::size_t messages = start + 3 + headerSize;
        if (unit == Unit::Messages && messages < end) {
            ReadSei(h264::Unescape(frame.subspan(messages, end - messages), buffer), out);
            if (out.hasInformation) return;
        }
        start = end;
    }
}

void SearchMpeg4(Bytes frame, ParsedFrameInfo& out) {
    std::array<std::uint8_t, kSectionMax> buffer;
    std::size_t start = h264::NextStartCode(frame, 0);
    while (start + 4 <= frame.size()) {
        const std::uint8_t code = frame[start + 3];
        if (code == kMpeg4Vop) return;
        const std::size_t end = h264::NextStartCode(frame, start + 3);
        if (code == kMpeg4UserData && end > start + 4) {
            ReadIdentifiedSection(h264::Unescape(frame.subspan(start + 4, end - (start + 4)), buffer), out);
            if (out.hasInformation) return;
        }
        start = end;
    }
}

}  // namespace

ParsedFrameInfo ParseFrameInfo(VideoCodec codec, const std::uint8_t* data, std::size_t size) {
    ParsedFrameInfo out;
    const Bytes frame = data ? Bytes(data, size) : Bytes();
    out.headerLength = CameraHeaderLength(frame);
    if (out.headerLength != 0) {
        ReadSection(frame.subspan(kPesFixedSize, out.headerLength - kPesFixedSize), out);
        return out;
    }
    const Bytes head = frame.first(std::min(frame.size(), kSearchLimit));
    if (codec == VideoCodec::H264) SearchUnits(head, H264Kind, 1, out);
    if (codec == VideoCodec::H265) SearchUnits(head, H265Kind, h265::kHeaderSize, out);
    if (codec == VideoCodec::Mpeg4) SearchMpeg4(head, out);
    return out;
}

}  // namespace norix
