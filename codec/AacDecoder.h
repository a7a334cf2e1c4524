#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "codec/Status.h"

namespace codec {

/// Decodes AAC-LC access units (raw, no ADTS) to 16-bit mono PCM.
///
/// Stereo is mixed to mono at half weight each. Band replication, where a stream carries it, is left out, so
/// that the output rate is always the one that the configuration states.
///
/// An instance belongs to one thread at a time; no allocations of its own per unit.
class AacDecoder {
  public:
    /// Most samples that one access unit can give.
    static constexpr int kMaxSamplesPerUnit = 1024;

    AacDecoder();
    ~AacDecoder();
    AacDecoder(const AacDecoder&) = delete;
    AacDecoder& operator=(const AacDecoder&) = delete;

    /// Opens the decoder from the stream's AudioSpecificConfig. An open decoder is closed first. kBadData for
    /// a truncated or senseless configuration, kUnsupported for anything but AAC-LC in mono or stereo, for
    /// 960-sample frames, and for a rate outside 7350..96000 Hz. After a failure the decoder is closed.
    Status Initialise(const std::uint8_t* config, std::size_t size);

    bool IsInitialised() const;
    int SampleRate() const;  ///< samples per second, of input and output; 0 when not initialised
    int Channels() const;    ///< channels in the stream (output is always mono)

    /// Decodes one access unit into `samples`, which has room for `capacity` samples; kMaxSamplesPerUnit
    /// always suffices, and is asked for (kBufferTooSmall). `*count` is what was written. kNoPicture when the
    /// unit gives no sound yet, kBadData when it is damaged.
    Status Decode(const std::uint8_t* data, std::size_t size, std::int16_t* samples, std::size_t capacity,
                  std::size_t* count);

    /// Forgets the overlap with the previous unit; call it after a gap.
    void Reset();

    void Close();

    /// The code that the library underneath returned with the last failure, for log lines; 0 if there was
    /// none.
    int LibraryError() const;

  private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace codec
