#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "codec/Status.h"

struct SwrContext;

namespace codec {

/// Brings 16-bit mono PCM from one sample rate to another. An instance belongs to one thread at a time.
class Resampler {
  public:
    Resampler() = default;

    /// Rates in Hz, both above 0. What the conversion before still held is forgotten.
    Status Initialise(int fromRate, int toRate);

    /// Converts what follows what was given before; `out` is replaced by what is ready, which lags some
    /// samples behind. Takes memory only while `out` grows.
    Status Convert(std::span<const std::int16_t> in, std::vector<std::int16_t>* out);

  private:
    struct Delete {
        void operator()(SwrContext* context) const;
    };
    std::unique_ptr<SwrContext, Delete> m_context;
};

}  // namespace codec
