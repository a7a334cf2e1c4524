#pragma once

#include "codec/Jpeg.h"
#include "render/present/PictureBuffer.h"
#include "render/snapshot/PicturePacker.h"

namespace norix {

/// Quality of the snapshots that a decoder takes, 1 to 100.
inline constexpr int kSnapshotQuality = 75;

/// Packs by the codec library's JPEG functions, with colour at half resolution in both directions (4:2:0).
/// Failures are logged with the library's code.
class CIntelJpegPacker final : public CPicturePacker {
  public:
    /// `bufferSize`: no unpacked picture is larger, in bytes. The memory is asked for when it is needed.
    explicit CIntelJpegPacker(std::size_t bufferSize, int quality = kSnapshotQuality)
        : m_bufferSize(bufferSize), m_encoder(quality) {}

    codec::Status EncodeToJPEGBuffer(bool converted, const std::uint8_t* picture, int width, int height,
                                     const std::uint8_t** jpeg, std::size_t* size) override;
    codec::Status DecodeFromJPEGBuffer(const std::uint8_t* data, std::size_t length,
                                       const std::uint8_t** picture, int* width, int* height,
                                       int* channels) override;

  private:
    const std::size_t m_bufferSize;
    PictureBuffer m_buffer;  // of m_bufferSize, made by the first unpacking
    codec::JpegEncoder m_encoder;
    codec::JpegDecoder m_decoder;
};

}  // namespace norix
