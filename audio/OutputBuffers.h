#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/FrameQueue.h"

namespace norix {

inline constexpr std::size_t kOutputBufferCount = 5;

/// One block of samples on its way to the sound device.
struct OutputBuffer {
    std::size_t index = 0;  // 0 to 4
    std::size_t count = 0;  // samples in use
    std::vector<std::int16_t> samples;
};

/// The five output buffers and the list of those that are free. Shared by the player and the device, so that
/// a device which never lets go of a buffer finds it. Any thread; nothing is allocated after construction.
class OutputBuffers {
  public:
    /// All are free; each has room for `capacity` samples.
    explicit OutputBuffers(std::size_t capacity);
    OutputBuffers(const OutputBuffers&) = delete;
    OutputBuffers& operator=(const OutputBuffers&) = delete;

    std::size_t Capacity() const { return m_buffers.front().samples.size(); }

    /// A free buffer, or null when there was none within the time.
    OutputBuffer* Take(std::uint32_t waitMs) { return m_free.Take(waitMs); }
    void GiveBack(OutputBuffer* buffer) { m_free.PutTail(buffer); }

  private:
    std::array<OutputBuffer, kOutputBufferCount> m_buffers;
    FrameQueue<OutputBuffer> m_free{kOutputBufferCount};
};

}  // namespace norix
