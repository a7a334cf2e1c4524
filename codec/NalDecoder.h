#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "codec/NalHeaders.h"
#include "codec/Picture.h"
#include "codec/Status.h"

namespace codec {

/// Decoder of H.264 and H.265 for live video: one access unit in, at most one picture out, at once.
///
/// Input is Annex B (start codes), one whole access unit per call. Of H.264 it may also be one field of it,
/// or its slices one by one, as receivers hand them on; which of these is learned from the stream. Parameter
/// sets travel in band; the last ones are kept for as long as the object lives, so that a stream which sends
/// them once survives every reopening. Output is in display order. A picture comes out of the very call that
/// completes it; only streams whose parameter sets announce reordering, or that are seen to reorder, are held
/// back by as many pictures as that takes. Slices of one picture are decoded on several threads, whole
/// pictures never are, because that would add delay.
///
/// A damaged access unit costs its own picture: it is concealed and delivered with PictureInfo::damaged set,
/// or dropped. After damage, its own or what UnitInfo tells of, the decoder starts afresh at the next key
/// frame. Nothing is delivered before the first key frame or recovery point. Of H.265, what is missing is
/// concealed with the picture before it.
///
/// An instance belongs to one thread at a time. It takes its buffers when the stream's size becomes known and
/// reuses them; there are no allocations of its own per picture.
class NalDecoder {
  public:
    /// `threads` is the most threads to decode slices on; 0
    /// means one per processor, four at most.
    NalDecoder(NalCodec codec, int threads);
    ~NalDecoder();
    NalDecoder(const NalDecoder&) = delete;
    NalDecoder& operator=(const NalDecoder&) = delete;

    /// The size of the pictures that `data` announces, found without decoding anything: from it follows what
    /// memory decoding would take. kNoPicture when it announces none; kUnsupported beyond kMaxDimension, with
    /// the size where it can be told, else 0 by 0. Any thread.
    static Status Announced(NalCodec codec, const std::uint8_t* data, std::size_t size, int* width,
                            int* height);

    /// Larger pictures are refused before memory is asked for, however the stream comes to announce them: as
    /// kUnsupported or kBadData. kMaxDimension bounds each side in any case.
    void SetMostPixels(std::int64_t pixels);

    /// Opens the decoder for the stream that `data` belongs to and learns the picture size from its parameter
    /// sets, or from those that earlier units brought. The picture itself is not decoded: pass the same data
    /// to Decode afterwards. An open decoder is closed first.
    ///
    /// kNeedKeyFrame when the parameter sets of its picture are not known, kUnsupported for a size beyond
    /// kMaxDimension, kBadArgument for null or empty data, kOutOfMemory. After a failure the decoder is
    /// closed.
    Status Initialise(const std::uint8_t* data, std::size_t size);

    bool IsInitialised() const;

    /// Size of the pictures, from Initialise on; after kSizeChanged, the new size. 0 when not initialised.
    int Width() const;
    int Height() const;

    /// Describes the picture last delivered by Decode, DecodePlanar, Drain or DrainPlanar.
    const PictureInfo& Info() const;

    /// Decodes one access unit and, when that makes a picture due, writes it to `out`.
    ///
    /// With null `data` no input is given: a picture that is due but was not yet delivered (after
    /// kSizeChanged or kBufferTooSmall) is written, otherwise the answer is kNoPicture. That never disturbs
    /// the display order: pictures that still wait for their turn stay where they are (Drain ends a stream).
    ///
    /// If new input comes while a picture is still kept, that picture is lost.
    /// kOk: a picture was written. kNoPicture, kSizeChanged: see Status. kBadData: the access unit was
    /// dropped. kBadArgument: stride below RowBytes, null buffer. kBufferTooSmall: nothing written, the
    /// picture is kept.
    /// After kOutOfMemory the decoder may be closed: ask IsInitialised before the next access unit.
    Status Decode(const std::uint8_t* data, std::size_t size, const OutputPicture& out,
                  const UnitInfo& unit = {});

    /// As Decode, without conversion: `*picture` shows the decoder's own planes, valid until the next call on
    /// this object. A changed size is simply reported in the view; kSizeChanged does not occur.
    Status DecodePlanar(const std::uint8_t* data, std::size_t size, PlanarPicture* picture,
                        const UnitInfo& unit = {});

    /// Ends the stream: each call delivers one of the pictures that wait for their turn, until kNoPicture.
    /// Afterwards the decoder accepts a new stream, beginning with a key frame. kSizeChanged as for Decode:
    /// call it again.
    Status Drain(const OutputPicture& out);
    Status DrainPlanar(PlanarPicture* picture);

    /// Forgets all pictures and errors, keeps buffers and settings. The next picture comes from the next key
    /// frame.
    void Reset();

    /// Gives everything back but the parameter sets.
    void Close();

    /// Trades exactness for time. Values outside 0..7 are limited. Takes effect with the next access unit;
    /// kept across Close and Initialise.
    ///
    ///   0  everything is decoded exactly
    ///   1  deblocking skipped in pictures that no other picture refers to, and across slice borders
    ///   2  and in all B pictures
    ///   3  and in all pictures but intra pictures
    ///   4  and in all pictures
    ///   5  and pictures that no other picture refers to are not decoded at all
    ///   6  and B pictures are not decoded at all
    ///   7  only intra pictures are decoded
    ///
    /// Of H.265, 6 leaves out all temporal layers but the lowest instead of B pictures.
    void SetSpeed(int speed);

    /// The code that the library underneath returned with the last failure, for log lines; 0 if there was
    /// none.
    int LibraryError() const;

  private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace codec
