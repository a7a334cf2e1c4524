#include "live/media/MediaSink.h"

#include <utility>

MediaSink::~MediaSink() {
    stopPlaying();
}

Boolean MediaSink::sourceIsCompatibleWithUs(MediaSource& source) {
    return source.isFramedSource();
}

Boolean MediaSink::startPlaying(MediaSource& source, afterPlayingFunc* afterFunc, void* afterClientData) {
    if (fSource) {
        envir().setResultMsg("This sink is already being played");
        return False;
    }
    if (!sourceIsCompatibleWithUs(source)) {
        envir().setResultMsg("MediaSink::startPlaying(): source is not compatible!");
        return False;
    }
    fSource = static_cast<FramedSource*>(&source);
    m_afterFunc = afterFunc;
    m_afterClientData = afterClientData;
    return continuePlaying();
}

void MediaSink::stopPlaying() {
    if (fSource) fSource->stopGettingFrames();
    envir().taskScheduler().unscheduleDelayedTask(nextTask());
    fSource = nullptr;
    m_afterFunc = nullptr;
}

void MediaSink::onSourceClosure(void* clientData) {
    static_cast<MediaSink*>(clientData)->onSourceClosure();
}

void MediaSink::onSourceClosure() {
    envir().taskScheduler().unscheduleDelayedTask(nextTask());
    fSource = nullptr;
    if (afterPlayingFunc* const after = std::exchange(m_afterFunc, nullptr)) after(m_afterClientData);
}
