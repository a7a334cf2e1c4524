#pragma once

#include "codec/H264Decoder.h"
#include "render/decode/CodecAdapter.h"

namespace norix {

class H264Adapter final : public CodecAdapter {
  public:
    std::optional<std::int64_t> Decode(const CompressedFrame& frame, DecodeHost& host) override;

  private:
    bool IsAdmitted(const CompressedFrame& frame, DecodeHost& host);
    bool Open(const CompressedFrame& frame, DecodeHost& host);
    bool GetPicture(const CompressedFrame& frame, DecodeHost& host);

    codec::H264Decoder m_decoder;
    int m_speed = 0;         // last given to the decoder
    bool m_refused = false;  // the stream's pictures are too large, until it announces other ones
};

}  // namespace norix
