#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "render/present/DisplayFrame.h"
#include "render/snapshot/PicturePacker.h"

namespace norix {

/// Brings a shown picture into the form in which the host wants it. What is returned lies in the picture, the
/// packer or here, and is valid until the next call or the picture's end; it is empty when it could not be
/// made, which the packer has logged. Belongs to one thread at a time. May throw std::bad_alloc.
class SnapshotShaper {
  public:
    using Bytes = std::span<const std::uint8_t>;

    /// The numbers that hosts give; any other one stands for JPEG too.
    enum Format : std::int32_t { kBgr = 1, kYuy2 = 2 };

    /// The packer outlives it.
    explicit SnapshotShaper(CPicturePacker& packer) : m_packer(packer) {}

    Bytes Jpeg(const DisplayFrame& frame);

    /// kBgr: 24 bits per pixel; kYuy2: the picture as DirectDraw shows it, where DirectDraw does. Both
    /// without padding between the rows, top row first.
    Bytes InFormat(std::int32_t format, const DisplayFrame& frame);

  private:
    Bytes Bgr(const DisplayFrame& frame);

    CPicturePacker& m_packer;
    std::vector<std::uint8_t> m_scratch;  // a picture without padding; grows to the largest one
};

}  // namespace norix
