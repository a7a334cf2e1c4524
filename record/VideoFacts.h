#pragma once

// What a recording has to know of a video frame, read from the frame itself. Pure; safe for any bytes.

#include <cstdint>
#include <vector>

#include "media/MediaTypes.h"
#include "record/RecordFile.h"

namespace norix {

struct VideoFacts {
    bool keyFrame = false;       // decoding can start here, given the parameters
    bool hasParameters = false;  // it brings some: parameter sets (H.264, H.265), VOL (MPEG-4)
    bool complete = false;       // it brings all that a decoder needs
    bool hasPicture = true;      // false: nothing but parameters and messages
    bool continues = false;      // H.264: a further slice of the picture before
    std::uint32_t width = 0;     // as its headers say, 0 where they don't
    std::uint32_t height = 0;
};

VideoFacts InspectVideo(VideoCodec codec, RecordBytes frame);

/// The parameters that frames brought last: what the first frame of a file gets in front if it has none.
class ParameterSets {
  public:
    void Reset();
    /// Takes what the frame brings of them. Allocates only when they grow.
    void Remember(VideoCodec codec, RecordBytes frame);
    /// Whether a decoder could start with these.
    bool Complete() const;
    /// In the form of a frame's beginning.
    void AppendTo(std::vector<std::uint8_t>& frame) const;
    std::size_t Size() const { return m_vps.size() + m_first.size() + m_second.size(); }

  private:
    VideoCodec m_codec = VideoCodec::None;
    std::vector<std::uint8_t> m_vps;     // H.265
    std::vector<std::uint8_t> m_first;   // SPS, or everything up to and with the VOL
    std::vector<std::uint8_t> m_second;  // PPS, one behind the other
};

}  // namespace norix
