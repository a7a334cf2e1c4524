#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/Status.h"

namespace norix {

/// Turns pictures into a compressed form and back. What an operation returns lies in the packer's own memory
/// and is valid until its next call. A packer belongs to one thread at a time.
class CPicturePacker {
  public:
    virtual ~CPicturePacker() = default;

    /// Compresses a 24-bit BGR picture, top row first. `converted`: its rows follow each other without
    /// padding, as the colour conversion leaves them; else each row begins on four bytes, as GDI shows it.
    virtual codec::Status EncodeToJPEGBuffer(bool converted, const std::uint8_t* picture, int width,
                                             int height, const std::uint8_t** jpeg, std::size_t* size) = 0;

    /// Gives the picture as 24-bit BGR without padding; `channels` is 3.
    virtual codec::Status DecodeFromJPEGBuffer(const std::uint8_t* data, std::size_t length,
                                               const std::uint8_t** picture, int* width, int* height,
                                               int* channels) = 0;

  protected:
    CPicturePacker() = default;
    CPicturePacker(const CPicturePacker&) = default;
    CPicturePacker& operator=(const CPicturePacker&) = default;
};

}  // namespace norix
