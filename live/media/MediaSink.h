#pragma once

// Where frames go.

#include "live/media/FramedSource.h"

class MediaSink : public Medium {
  public:
    using afterPlayingFunc = void(void* clientData);

    /// False, with the reason in the environment, when the sink is being played already.
    Boolean startPlaying(MediaSource& source, afterPlayingFunc* afterFunc, void* afterClientData);
    virtual void stopPlaying();
    FramedSource* source() const { return fSource; }

  protected:
    explicit MediaSink(UsageEnvironment& env) : Medium(env) {}
    ~MediaSink() override;

    virtual Boolean sourceIsCompatibleWithUs(MediaSource& source);
    /// Asks the source for the next frame; False when there is no source.
    virtual Boolean continuePlaying() = 0;

    /// To be handed to getNextFrame.
    static void onSourceClosure(void* clientData);
    void onSourceClosure();

    FramedSource* fSource = nullptr;

  private:
    afterPlayingFunc* m_afterFunc = nullptr;
    void* m_afterClientData = nullptr;
};
