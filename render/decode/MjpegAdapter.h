#pragma once

#include "codec/Jpeg.h"
#include "render/decode/CodecAdapter.h"

namespace norix {

class MjpegAdapter final : public CodecAdapter {
  public:
    std::optional<std::int64_t> Decode(const CompressedFrame& frame, DecodeHost& host) override;

  private:
    codec::JpegDecoder m_decoder;
};

}  // namespace norix
