#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace norix {

/// Memory for one picture, aligned for vector instructions and not cleared: pages that no picture reaches
/// cost nothing. Empty when the memory was not to be had.
class PictureBuffer {
  public:
    PictureBuffer() noexcept = default;
    explicit PictureBuffer(std::size_t capacity) noexcept
        : m_data(static_cast<std::uint8_t*>(::operator new(capacity, kAlignment, std::nothrow))),
          m_capacity(m_data ? capacity : 0) {}

    std::uint8_t* Data() const { return m_data.get(); }
    std::size_t Capacity() const { return m_capacity; }
    explicit operator bool() const { return m_data != nullptr; }

    void Swap(PictureBuffer& other) noexcept {
        std::swap(m_data, other.m_data);
        std::swap(m_capacity, other.m_capacity);
    }

  private:
    static constexpr std::align_val_t kAlignment{64};
    struct Free {
        void operator()(std::uint8_t* data) const { ::operator delete(data, kAlignment); }
    };

    std::unique_ptr<std::uint8_t, Free> m_data;
    std::size_t m_capacity = 0;
};

}  // namespace norix
