#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "codec/Picture.h"
#include "media/MediaTypes.h"
#include "render/present/Geometry.h"

namespace norix {

/// What a codec adapter finds in the decode loop that runs it. Decode thread only.
class DecodeHost {
  public:
    /// False once the loop is to end.
    virtual bool IsRunning() const = 0;

    /// Whether pictures of this size may be decoded at all. Asked before a codec takes memory for them; a
    /// refusal is told to the host's user.
    virtual bool Admits(PixelSize size) = 0;
    /// About that, for codecs that can keep to it by themselves.
    virtual std::int64_t MostPixels() const = 0;

    /// The stream's pictures have this size from now on: the presenter is rebuilt for it. False when it
    /// cannot show such pictures, now or ever.
    virtual bool PrepareFor(PixelSize size) = 0;
    /// The size last prepared for, and whether that succeeded.
    virtual PixelSize Size() const = 0;
    virtual bool IsReady() const = 0;

    /// Where a picture of that size goes, in the presenter's format: the work buffer, whose picture is
    /// queued, and a second one for filters. The data is null while no size is known, and where there is no
    /// memory.
    virtual codec::OutputPicture Work() = 0;
    virtual codec::OutputPicture Scratch() = 0;
    virtual void SwapWorkAndScratch() = 0;

    /// False while a picture would only be decoded for those that refer to it: nobody sees it, and it need
    /// not be written. The same throughout a frame.
    virtual bool IsPictureWanted() const = 0;

    virtual bool DeInterlace() const = 0;
    virtual bool SuppressDeinterlace() const = 0;
    virtual int DecodeSpeed() const = 0;

    /// Nothing can be shown before the next key frame.
    virtual void WishKeyFrame() = 0;

  protected:
    ~DecodeHost() = default;
};

/// One frame as it was received. The data is the caller's.
struct CompressedFrame {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
    codec::UnitInfo info;
};

/// Decodes one kind of stream. Decode thread only.
class CodecAdapter {
  public:
    virtual ~CodecAdapter() = default;

    /// Decodes one compressed frame. When a picture is in the work buffer afterwards, its own or one that
    /// it releases, the result is the tag of that picture's frame. A frame that cannot be decoded gives
    /// nothing; the next one is tried as if nothing had been.
    virtual std::optional<std::int64_t> Decode(const CompressedFrame& frame, DecodeHost& host) = 0;
};

/// Null for a kind that nothing here decodes.
std::unique_ptr<CodecAdapter> CreateCodecAdapter(VideoCodec kind);

/// Softens interlacing from one picture of the host's to the other. False when that is impossible.
bool FilterInterlaced(const codec::OutputPicture& from, const codec::OutputPicture& to, PixelSize size);

}  // namespace norix
