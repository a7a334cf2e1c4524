#include "live/media/FramedSource.h"

#include <utility>

void FramedSource::getNextFrame(unsigned char* to, unsigned maxSize, afterGettingFunc* afterGettingFunction,
                                void* afterGettingClientData, onCloseFunc* onCloseFunction,
                                void* onCloseClientData) {
    m_to = to;
    m_maxSize = maxSize;
    m_afterGetting = afterGettingFunction;
    m_afterGettingData = afterGettingClientData;
    m_onClose = onCloseFunction;
    m_onCloseData = onCloseClientData;
    m_awaiting = true;
    doGetNextFrame();
}

void FramedSource::stopGettingFrames() {
    m_awaiting = false;
    m_afterGetting = nullptr;
    m_onClose = nullptr;
    doStopGettingFrames();
}

void FramedSource::handleClosure() {
    m_awaiting = false;
    onCloseFunc* const onClose = std::exchange(m_onClose, nullptr);
    if (onClose) onClose(m_onCloseData);
}

void FramedSource::deliver(unsigned size, unsigned truncated, const timeval& presentationTime,
                           unsigned durationMicroseconds) {
    m_awaiting = false;
    if (m_afterGetting)
        m_afterGetting(m_afterGettingData, size, truncated, presentationTime, durationMicroseconds);
}
