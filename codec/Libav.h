#pragma once

// What the decoders over libavcodec share: owners for its objects, the input packet, pictures as views.
// Internal to codec/: nothing outside includes it, so that the FFmpeg headers stay in here.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "codec/Picture.h"
#include "codec/Status.h"

namespace codec {

struct AvDelete {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVBufferRef* buffer) const { av_buffer_unref(&buffer); }
};

template <typename T>
using AvPtr = std::unique_ptr<T, AvDelete>;

/// Maps a negative libavutil code to what callers may know of it.
Status StatusFromAv(int code);

/// The packet that is handed to a decoder. It copies the input once, because libavcodec reads some bytes
/// beyond the end, into memory that is kept and reused as long as the decoder has let go of it.
class InputPacket {
  public:
    /// Larger input is refused as kBadArgument.
    static constexpr std::size_t kMaxBytes = 64u << 20;

    /// Makes the packet hold `head` (may be empty) followed by `body`.
    Status Fill(const std::uint8_t* head, std::size_t headSize, const std::uint8_t* body,
                std::size_t bodySize);
    Status Fill(const std::uint8_t* data, std::size_t size) { return Fill(nullptr, 0, data, size); }

    AVPacket* Get() const { return m_packet.get(); }

    /// Gives the memory back.
    void Clear();

  private:
    AvPtr<AVBufferRef> m_buffer;
    AvPtr<AVPacket> m_packet;
};

/// See WatchSlices.
struct SliceWatch {
    std::atomic<bool> damaged{false};  ///< set by the decoder's threads
    int (*execute)(AVCodecContext*, int (*)(AVCodecContext*, void*), void*, int*, int, int) = nullptr;
    int (*execute2)(AVCodecContext*, int (*)(AVCodecContext*, void*, int, int), void*, int*, int) = nullptr;

    /// H.265: the library takes a grey picture for each one that is missing. It asks for their memory behind
    /// that of the picture at hand; before its slices are decoded they become what was decoded last.
    struct MadeUp {
        std::uint8_t* planes[4];
        int strides[4];
    };
    static constexpr int kMostMadeUp = 16;
    bool replacesMissing = false;
    const AVFrame* last = nullptr;  ///< not owned; may be null or empty
    int pictures = 0;               ///< since the packet began
    int madeUpCount = 0;
    MadeUp madeUp[kMostMadeUp] = {};
    /// Before each packet.
    void BeginPacket() { pictures = madeUpCount = 0; }
};

/// Refuses pictures of more than `pixels`, as shown, whatever way a stream announces them: before the library
/// takes memory for them. Any time.
void LimitPixels(AVCodecContext* context, std::int64_t pixels);

/// A decoder context as all of ours want it: no frame threads, no output larger than kMaxDimension. Null when
/// out of memory. It is not opened yet. Its `opaque` belongs to WatchSlices.
AvPtr<AVCodecContext> NewVideoContext(const AVCodec* decoder);

/// Has `*damaged` set whenever a slice can't be decoded to its end, or a picture is missing that others refer
/// to: the library conceals that, and where several slices are decoded at once it keeps their results to
/// itself. Call it once the context is open, with a flag that outlives it.
void WatchSlices(AVCodecContext* context, SliceWatch* watch);

/// Gives the library parameter sets as what goes before the stream; before the context is opened. False when
/// out of memory.
bool SetExtradata(AVCodecContext* context, const std::vector<std::uint8_t>& data);

/// Gives `packet` to the decoder and takes the picture that it yields at once, if any, into `frame`. A null
/// packet starts or continues draining. kOk, kNoPicture, or a failure with the library's code in `*code`.
Status SendAndReceive(AVCodecContext* context, const AVPacket* packet, AVFrame* frame, int* code);

/// Describes the samples of a decoded frame; false for layouts that are not planar Y'CbCr. The view lives as
/// long as the frame's data.
bool ViewOf(const AVFrame& frame, PlanarPicture* picture);

/// The tag is what the context's `reordered_opaque` was when the picture was begun.
PictureInfo InfoOf(const AVFrame& frame);

}  // namespace codec
