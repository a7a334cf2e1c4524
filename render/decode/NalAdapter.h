#pragma once

#include "codec/NalDecoder.h"
#include "render/decode/CodecAdapter.h"

namespace norix {

/// H.264 and H.265.
class NalAdapter final : public CodecAdapter {
  public:
    explicit NalAdapter(codec::NalCodec codec) : m_codec(codec), m_decoder(codec, 0) {}

    std::optional<std::int64_t> Decode(const CompressedFrame& frame, DecodeHost& host) override;

  private:
    bool IsAdmitted(const CompressedFrame& frame, DecodeHost& host);
    bool Open(const CompressedFrame& frame, DecodeHost& host);
    bool GetPicture(const CompressedFrame& frame, DecodeHost& host);
    bool GetUnwanted(const CompressedFrame& frame, DecodeHost& host);

    const codec::NalCodec m_codec;
    codec::NalDecoder m_decoder;
    int m_speed = 0;         // last given to the decoder
    bool m_refused = false;  // the stream's pictures are too large, until it announces other ones
};

}  // namespace norix
