#pragma once

#include "codec/Jpeg.h"
#include "render/decode/CodecAdapter.h"

namespace norix {

class MjpegAdapter final : public CodecAdapter {
  public:
    bool Decode(const std::uint8_t* data, std::size_t size, DecodeHost& host) override;

  private:
    codec::JpegDecoder m_decoder;
};

}  // namespace norix
