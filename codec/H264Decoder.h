#pragma once

#include "codec/NalDecoder.h"

namespace codec {

/// H.264; see NalDecoder.
class H264Decoder final : public NalDecoder {
  public:
    explicit H264Decoder(int threads = 0) : NalDecoder(NalCodec::kH264, threads) {}

    static Status Announced(const std::uint8_t* data, std::size_t size, int* width, int* height) {
        return NalDecoder::Announced(NalCodec::kH264, data, size, width, height);
    }
};

}  // namespace codec
