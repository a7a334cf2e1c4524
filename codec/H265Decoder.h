#pragma once

#include "codec/NalDecoder.h"

namespace codec {

/// H.265: Main and Main 10; see NalDecoder.
class H265Decoder final : public NalDecoder {
  public:
    explicit H265Decoder(int threads = 0) : NalDecoder(NalCodec::kH265, threads) {}

    static Status Announced(const std::uint8_t* data, std::size_t size, int* width, int* height) {
        return NalDecoder::Announced(NalCodec::kH265, data, size, width, height);
    }
};

}  // namespace codec
