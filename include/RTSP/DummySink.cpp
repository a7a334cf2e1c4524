#include "include/RTSP/DummySink.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "media/CtrlParam.h"
#include "protocol/Text.h"
#include "util/H265Syntax.h"
#include "util/Log.h"

namespace norix {
namespace {

std::vector<std::uint8_t> ConfigOf(MediaSubsession const& subsession) {
    char const* const text = subsession.fmtp_config();
    return text ? protocol::fromHex(text) : std::vector<std::uint8_t>();
}

}  // namespace

DummySink* DummySink::createNew(UsageEnvironment& env, MediaSubsession& subsession,
                                unsigned receiveBufferSize, CCtrlParam& param,
                                EventLoopWatchVariable const& stop) {
    return new DummySink(env, subsession, receiveBufferSize, param, stop);
}

DummySink::DummySink(UsageEnvironment& env, MediaSubsession& subsession, unsigned receiveBufferSize,
                     CCtrlParam& param, EventLoopWatchVariable const& stop)
    : MediaSink(env),
      m_subsession(subsession),
      m_param(param),
      m_stop(stop),
      m_kind(KindOf(subsession.codecName())),
      m_bufferSize(receiveBufferSize),
      m_header(m_kind == Kind::Mpeg4 ? ConfigOf(subsession) : std::vector<std::uint8_t>()),
      m_buffer(std::make_unique_for_overwrite<std::uint8_t[]>(m_header.size() + receiveBufferSize)),
      m_assembler(IsNal() ? receiveBufferSize : 0, m_kind == Kind::H265 ? NalSyntax::H265 : NalSyntax::H264) {
    if (IsNal()) PrependParameterSets();
    std::copy(m_header.begin(), m_header.end(), m_buffer.get());
}

DummySink::Kind DummySink::KindOf(char const* codecName) {
    const std::string_view codec = codecName ? codecName : "";
    if (codec == "H264") return Kind::H264;
    if (codec == "H265") return Kind::H265;
    if (codec == "MP4V-ES") return Kind::Mpeg4;
    if (codec == "JPEG") return Kind::Jpeg;
    if (protocol::equalsIgnoringCase(codec, "PCMU") || protocol::equalsIgnoringCase(codec, "PCMA"))
        return Kind::G711;
    if (protocol::equalsIgnoringCase(codec, "MPEG4-GENERIC") || protocol::equalsIgnoringCase(codec, "AAC"))
        return Kind::Aac;
    return Kind::Other;
}

bool DummySink::IsVideo(char const* codecName) {
    const Kind kind = KindOf(codecName);
    return kind == Kind::H264 || kind == Kind::H265 || kind == Kind::Mpeg4 || kind == Kind::Jpeg;
}

bool DummySink::IsSound(char const* codecName) {
    const Kind kind = KindOf(codecName);
    return kind == Kind::G711 || kind == Kind::Aac;
}

bool DummySink::IsParameterSet(Kind kind, std::uint8_t header) {
    if (kind == Kind::H265) return util::h265::IsParameterSet(util::h265::TypeOf(header));
    const unsigned type = util::h264::TypeOf(header);
    return type == util::h264::kSps || type == util::h264::kPps;
}

// The description's parameter sets go before the first slice.
void DummySink::PrependParameterSets() {
    constexpr std::size_t kMostBytes = 16 * 1024;  // they go before every key frame
    std::size_t bytes = 0;
    const auto take = [&](char const* parameter) {
        unsigned count = 0;
        const std::unique_ptr<SPropRecord[]> records(
            parseSPropParameterSets(m_subsession.attrVal_str(parameter), count));
        for (unsigned i = 0; i < count; ++i) {
            const ByteView unit(records[i].sPropBytes, records[i].sPropLength);
            if (unit.empty() || unit.size() > kMostBytes - bytes || !IsParameterSet(m_kind, unit[0]))
                continue;
            bytes += unit.size();
            m_assembler.Append(unit);
        }
    };
    if (m_kind == Kind::H265) {
        for (char const* const parameter : {"sprop-vps", "sprop-sps", "sprop-pps"})
            take(parameter);
    } else {
        take("sprop-parameter-sets");
    }
    m_assembler.RememberAsHeader();
}

Boolean DummySink::continuePlaying() {
    if (!fSource) return False;
    fSource->getNextFrame(m_buffer.get() + m_header.size(), m_bufferSize, afterGettingFrame, this,
                          onSourceClosure, this);
    return True;
}

void DummySink::afterGettingFrame(void* clientData, unsigned frameSize, unsigned truncated,
                                  struct timeval presentationTime, unsigned) {
    auto* const sink = static_cast<DummySink*>(clientData);
    sink->afterGettingFrame(frameSize, truncated,
                            PtsFromSeconds(sink->m_subsession.getNormalPlayTime(presentationTime)));
}

void DummySink::afterGettingFrame(unsigned frameSize, unsigned truncated, std::uint32_t pts) {
    m_connected = 1;
    ++m_frames;
    m_bytes += frameSize;
    RTPSource* const source = m_subsession.rtpSource();
    const bool damagedBefore = source && DamagedBefore(*source);
    m_damaged = m_damaged || damagedBefore;
    if (truncated != 0) {
        NORIX_LOG("DummySink::afterGettingFrame", 0,
                  "DummySink::afterGettingFrame(pts=%u) drop a frame of %u bytes, more than %u", pts,
                  frameSize + truncated, m_bufferSize);
        m_damaged = true;
        m_param.WishKeyFrame();
        continuePlaying();
        return;
    }
    const ByteView frame(m_buffer.get() + m_header.size(), frameSize);
    switch (m_kind) {
        case Kind::H264:
            TakeNalUnit(frame, pts);
            break;
        case Kind::H265:
            TakeH265Unit(frame, pts, damagedBefore);
            break;
        case Kind::Mpeg4:
            TakeMpeg4(frame, pts);
            break;
        case Kind::Jpeg:
            InsertVideo(frame, pts, VopCodingType(frame));
            break;
        case Kind::Aac:
            FillAacConfig();
            [[fallthrough]];
        case Kind::G711:
            if (m_stop == 0) m_param.InsertFrameToAudioBuffer(frame.data(), frame.size(), pts);
            break;
        case Kind::Other:
            break;
    }
    continuePlaying();
}

// Servers that state the header in the description often take it out of the stream. It stands before the
// frame in the buffer; each key frame gets it, so that decoders and recordings can begin there.
void DummySink::TakeMpeg4(ByteView frame, std::uint32_t pts) {
    const int type = VopCodingType(frame);
    const bool bare = type == 0 && !m_header.empty() && !HasVolHeader(frame);
    InsertVideo(bare ? ByteView(m_buffer.get(), m_header.size() + frame.size()) : frame, pts, type);
}

void DummySink::TakeNalUnit(ByteView nal, std::uint32_t pts) {
    Give(m_assembler.Append(nal), pts);
}

// Decoders take H.265 by whole pictures. That one is complete is said by the marker of its last packet;
// where a camera sets none, or sets it behind each slice, by the unit that begins the next picture. One that
// lacks a unit would show what was in its memory before: it is dropped.
void DummySink::TakeH265Unit(ByteView nal, std::uint32_t pts, bool damagedBefore) {
    RTPSource* const source = m_subsession.rtpSource();
    const bool marker = source && source->curPacketMarkerBit();
    const bool begins = BeginsPicture(nal);
    if (m_assembler.HasPicture()) {
        if (damagedBefore) {
            m_assembler.Discard();
        } else if (begins) {
            Give(m_assembler.Finish(), m_picturePts);
        }
    } else if (m_endedByMarker && !begins && !damagedBefore && ContentsOf(NalSyntax::H265, nal).slice) {
        m_markersLie = true;
        m_damaged = true;
    }
    m_endedByMarker = false;
    m_picturePts = pts;
    Give(m_assembler.Append(nal), pts);
    if (!marker || m_markersLie || !m_assembler.HasPicture()) return;
    m_endedByMarker = true;
    Give(m_assembler.Finish(), pts);
}

void DummySink::Give(AccessUnitAssembler::Outcome outcome, std::uint32_t pts) {
    switch (outcome) {
        case AccessUnitAssembler::Outcome::KeyFrame:
            InsertVideo(m_assembler.Unit(), pts, 0);
            break;
        case AccessUnitAssembler::Outcome::OtherFrame:
            InsertVideo(m_assembler.Unit(), pts, 1);
            break;
        case AccessUnitAssembler::Outcome::Overflow:
            NORIX_LOG(
                "DummySink::afterGettingFrame", 0,
                "DummySink::afterGettingFrame(pts=%u) drop NAL units beyond %u bytes, skip to key frame", pts,
                m_bufferSize);
            [[fallthrough]];
        case AccessUnitAssembler::Outcome::Skipped:
            m_damaged = true;
            m_param.WishKeyFrame();
            break;
        case AccessUnitAssembler::Outcome::Waiting:
            break;
    }
}

void DummySink::LogLink() {
    RTPSource* const source = m_subsession.rtpSource();
    if (!source) return;
    constexpr double kNotable = 20;  // milliseconds of waiting
    const LinkFacts now = LinkFactsOf(*source);
    const bool quiet = now.lost <= m_logged.lost && now.foreign == m_logged.foreign && now.heldMs < kNotable;
    // The first quiet time after a notable one says so, too.
    if (quiet && m_logged.heldMs < kNotable) return;
    NORIX_LOG("DummySink::LogLink", 0,
              "DummySink::LogLink(%s) %llu packets, %lld lost, %llu of others, jitter %.0f ms, late ones "
              "waited for %.0f ms, held up to %.0f ms",
              m_subsession.mediumName(), static_cast<unsigned long long>(now.packets),
              static_cast<long long>(now.lost), static_cast<unsigned long long>(now.foreign), now.jitterMs,
              now.windowMs, now.heldMs);
    m_logged = now;
}

void DummySink::FillAacConfig() {
    if (m_aacConfigFilled || m_stop != 0) return;
    m_aacConfigFilled = true;
    char const* const text = m_subsession.fmtp_config();
    if (text && m_param.aacConfig.Get().empty()) m_param.aacConfig.Set(AacConfigFromText(text));
}

void DummySink::InsertVideo(ByteView frame, std::uint32_t pts, int frameType) {
    if (m_stop != 0) return;
    m_param.InsertFrameToVideoBuffer(frame.data(), frame.size(), pts, frameType,
                                     std::exchange(m_damaged, false));
}

}  // namespace norix
