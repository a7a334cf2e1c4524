#pragma once

#include <cstdint>
#include <vector>

#include "media/FrameQueue.h"
#include "media/MediaTypes.h"
#include "render/decode/DecoderSettings.h"
#include "render/present/DisplayFrame.h"

namespace norix {

/// The display frames of one decoder and the two queues they go round in: free frames, which the decode
/// thread takes, and decoded pictures, which the display thread takes. Any thread.
class DisplayPool {
  public:
    explicit DisplayPool(const DecoderSettings& settings);

    /// Frames that exist: none when pictures have no size, since nothing could ever be in one. They have no
    /// memory for a picture at first; it comes in with the pictures that are swapped in.
    std::size_t Count() const { return m_frames.size(); }

    /// Pictures that wait to be shown.
    std::size_t Waiting() const { return m_queue.Size(); }

    /// All wait at most 10 ms. kResultInvalidArgument for null, kResultFail when nothing came.
    Result TakeFree(DisplayFrame** frame) { return Take(m_free, frame); }
    /// The frame becomes the next one taken, so that memory which is in use stays in use and the rest never
    /// is.
    Result Release(DisplayFrame* frame) { return Put(m_free, frame, false); }
    Result TakeDisplayable(DisplayFrame** frame) { return Take(m_queue, frame); }
    /// With atTail 0 the frame becomes the next one taken: for a picture given back because it is early.
    Result PutDisplayable(DisplayFrame* frame, int atTail) { return Put(m_queue, frame, atTail != 0); }

    /// Gives all waiting pictures up: after a change of size they fit nowhere any more.
    void ReleaseAllDisplayable();

    /// Gives the memory of all free frames back. While nobody else takes frames.
    void FreeBuffers();

  private:
    using Queue = FrameQueue<DisplayFrame>;

    static Result Take(Queue& queue, DisplayFrame** frame);
    static Result Put(Queue& queue, DisplayFrame* frame, bool atTail);

    std::vector<DisplayFrame> m_frames;  // constant after construction, but for what the frames hold
    Queue m_free;
    Queue m_queue;
};

}  // namespace norix
