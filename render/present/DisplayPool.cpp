#include "render/present/DisplayPool.h"

namespace norix {
namespace {

std::size_t FrameCount(const DecoderSettings& settings) {
    return settings.displayBufferSize == 0u ? 0 : settings.displayBufferNum;
}

}  // namespace

DisplayPool::DisplayPool(const DecoderSettings& settings)
    : m_frames(FrameCount(settings)), m_free(m_frames.size()), m_queue(m_frames.size()) {
    for (DisplayFrame& frame : m_frames)
        m_free.PutTail(&frame);
}

void DisplayPool::ReleaseAllDisplayable() {
    while (DisplayFrame* const frame = m_queue.Take(0))
        m_free.PutTail(frame);
}

void DisplayPool::FreeBuffers() {
    std::size_t count = m_free.Size();
    for (; count != 0; --count) {
        DisplayFrame* const frame = m_free.Take(0);
        if (!frame) return;
        frame->picture = PictureBuffer();
        m_free.PutTail(frame);
    }
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
