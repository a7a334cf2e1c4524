#pragma once

// Streams for whole-decoder tests: damaged frames between sound ones.

#include <cstdint>
#include <string>
#include <vector>

#include "media/CtrlParam.h"
#include "tests/native/codec/Corpus.h"

namespace norix::test {

struct DamagedStream {
    VideoCodec kind;
    std::vector<std::string> clips;  // of different sizes; each begins with a key frame
    std::string name;
};

inline const std::vector<DamagedStream>& DamagedStreams() {
    static const std::vector<DamagedStream> streams = {
        {VideoCodec::H264, {"h264_baseline_64x48", "h264_main_b_352x288"}, "H264"},
        {VideoCodec::Mpeg4, {"mpeg4_odd_99x67", "mpeg4_simple_176x144", "mpeg4_b_352x288"}, "Mpeg4"},
        {VideoCodec::Mjpeg, {"jpeg_420_64x48", "jpeg_422_177x145", "jpeg_grey_64x48"}, "Mjpeg"},
    };
    return streams;
}

// Inserts `count` frames, nine of ten damaged, jumping between the clips now and then.
inline void InsertDamaged(CCtrlParam& param, const DamagedStream& stream, int count, std::uint64_t seed) {
    std::vector<std::vector<codec::test::Bytes>> clips;
    for (const std::string& name : stream.clips)
        clips.push_back(codec::test::LoadPackets(name));
    codec::test::Random random(seed);
    std::size_t clip = 0;
    std::size_t frame = 0;
    for (int i = 0; i < count; ++i) {
        if (frame == clips[clip].size() || random.Below(200) == 0) {
            // Mostly the small one, which comes first.
            clip = random.Below(4) == 0 ? random.Below(static_cast<std::uint32_t>(clips.size())) : 0;
            frame = 0;
        }
        const codec::test::Bytes& whole = clips[clip][frame];
        const codec::test::Bytes sent = random.Below(10) == 0 ? whole : codec::test::Corrupt(whole, random);
        param.InsertFrameToVideoBuffer(sent.data(), sent.size(), 0, frame == 0 ? 0 : 1);
        ++frame;
    }
}

// The sound stream that follows.
inline void InsertSound(CCtrlParam& param, const DamagedStream& stream) {
    int isPFrame = 0;
    for (const codec::test::Bytes& packet : codec::test::LoadPackets(stream.clips[0])) {
        param.InsertFrameToVideoBuffer(packet.data(), packet.size(), 0, isPFrame);
        isPFrame = 1;
    }
}

}  // namespace norix::test
