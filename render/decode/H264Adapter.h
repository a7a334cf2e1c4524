#pragma once

#include "codec/H264Decoder.h"
#include "render/decode/CodecAdapter.h"

namespace norix {

class H264Adapter final : public CodecAdapter {
  public:
    bool Decode(const std::uint8_t* data, std::size_t size, DecodeHost& host) override;

  private:
    bool Open(const std::uint8_t* data, std::size_t size, DecodeHost& host);
    bool GetPicture(const std::uint8_t* data, std::size_t size, DecodeHost& host);

    codec::H264Decoder m_decoder;
    int m_speed = 0;  // last given to the decoder
};

}  // namespace norix
