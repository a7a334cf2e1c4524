#include "audio/OutputBuffers.h"

namespace norix {

OutputBuffers::OutputBuffers(std::size_t capacity) {
    for (std::size_t i = 0; i < kOutputBufferCount; ++i) {
        m_buffers[i].index = i;
        m_buffers[i].samples.resize(capacity);
        m_free.PutTail(&m_buffers[i]);
    }
}

}  // namespace norix
