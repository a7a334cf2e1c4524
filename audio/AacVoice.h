#pragma once

#include "audio/SoundOutput.h"
#include "codec/AacDecoder.h"
#include "media/FrameRecord.h"

namespace norix {

/// The sample rate that the first two bytes of an AAC configuration announce, where it is one of the two that
/// cameras use: 8000 or 16000 Hz. 0 for anything else, which leaves the stream's rate as it is.
std::uint32_t RateOfAacConfig(const std::uint8_t* config, std::size_t size) noexcept;

/// The AAC side of the player: opens the decoder with the stream's configuration once there are frames.
/// Belongs to the audio thread.
class AacVoice {
  public:
    AacVoice(CCtrlParam& param, SoundOutput& output) : m_param(param), m_output(output) {}

    /// Whether frames can be decoded. Opens the decoder when it isn't; that brings the device to the
    /// configuration's rate and makes new buffers.
    bool Prepare();

    /// Decodes one frame into the buffer; false when no sound comes of it. Only after Prepare.
    bool Decode(const AudioFrameRecord& frame, OutputBuffer& buffer);

  private:
    CCtrlParam& m_param;
    SoundOutput& m_output;
    codec::AacDecoder m_decoder;
    bool m_failed = false;  // and said so
};

}  // namespace norix
