#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "codec/Status.h"

namespace codec {

/// Encodes 16-bit mono PCM to AAC-LC access units (raw, no ADTS).
///
/// An instance belongs to one thread at a time.
class AacEncoder {
  public:
    /// Samples that one access unit stands for.
    static constexpr std::size_t kSamplesPerUnit = 1024;

    AacEncoder();
    ~AacEncoder();
    AacEncoder(const AacEncoder&) = delete;
    AacEncoder& operator=(const AacEncoder&) = delete;

    /// `sampleRate` is one that AAC has a number for (ISO/IEC 14496-3, from 7350 to 96000 Hz), kUnsupported
    /// for others; `bitRate` is in bits per second. An open encoder is closed first.
    Status Initialise(int sampleRate, int bitRate);

    /// Takes kSamplesPerUnit samples and gives the unit that is ready, which is an earlier one; kNoPicture
    /// where none is yet. What was in `unit` is replaced.
    Status Encode(std::span<const std::int16_t, kSamplesPerUnit> samples, std::vector<std::uint8_t>* unit);

    /// The code that the library underneath returned with the last failure, for log lines; 0 if there was
    /// none.
    int LibraryError() const;

  private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace codec
