#include "render/present/DisplayPool.h"

#include <utility>

namespace norix {
namespace {

std::vector<DisplayFrame> MakeFrames(const DecoderSettings& settings) {
    std::vector<DisplayFrame> frames;
    if (settings.displayBufferSize == 0) return frames;
    frames.reserve(settings.displayBufferNum);
    for (std::uint32_t i = 0; i < settings.displayBufferNum; ++i) {
        DisplayFrame frame;
        frame.picture = PictureBuffer(settings.displayBufferSize);
        if (!frame.picture) break;
        frames.push_back(std::move(frame));
    }
    return frames;
}

}  // namespace

DisplayPool::DisplayPool(const DecoderSettings& settings)
    : m_frames(MakeFrames(settings)), m_free(m_frames.size()), m_queue(m_frames.size()) {
    for (DisplayFrame& frame : m_frames)
        m_free.PutTail(&frame);
}

void DisplayPool::ReleaseAllDisplayable() {
    while (DisplayFrame* const frame = m_queue.Take(0))
        m_free.PutTail(frame);
}

Result DisplayPool::Take(Queue& queue, DisplayFrame** frame) {
    if (!frame) return kResultInvalidArgument;
    *frame = queue.Take();
    return *frame ? kResultOk : kResultFail;
}

Result DisplayPool::Put(Queue& queue, DisplayFrame* frame, bool atTail) {
    if (!frame) return kResultInvalidArgument;
    return (atTail ? queue.PutTail(frame) : queue.PutHead(frame)) ? kResultOk : kResultFail;
}

}  // namespace norix
