#pragma once

// Where frames come from: one is asked for, one is delivered, and so on, until the source closes.

#include "live/env/Medium.h"

class MediaSource : public Medium {
  public:
    virtual Boolean isFramedSource() const { return False; }
    virtual Boolean isRTPSource() const { return False; }
    virtual char const* MIMEtype() const { return "application/OCTET-STREAM"; }

  protected:
    using Medium::Medium;
};

class FramedSource : public MediaSource {
  public:
    using afterGettingFunc = void(void* clientData, unsigned frameSize, unsigned numTruncatedBytes,
                                  struct timeval presentationTime, unsigned durationInMicroseconds);
    using onCloseFunc = void(void* clientData);

    /// `to` belongs to the source until one of the functions is called or stopGettingFrames is. A source that
    /// is asked while it still owes a frame is a mistake of the caller; the new request counts.
    void getNextFrame(unsigned char* to, unsigned maxSize, afterGettingFunc* afterGettingFunction,
                      void* afterGettingClientData, onCloseFunc* onCloseFunction, void* onCloseClientData);
    void stopGettingFrames();
    Boolean isCurrentlyAwaitingData() const { return m_awaiting; }
    /// The source has ended: tells whoever waits for a frame.
    void handleClosure();
    Boolean isFramedSource() const override { return True; }

  protected:
    using MediaSource::MediaSource;

    virtual void doGetNextFrame() = 0;
    virtual void doStopGettingFrames() {}

    unsigned char* frameTo() const { return m_to; }
    unsigned maxFrameSize() const { return m_maxSize; }
    /// Ends the request. The consumer usually asks for the next frame from inside; it may end the source,
    /// too.
    void deliver(unsigned size, unsigned truncated, const timeval& presentationTime,
                 unsigned durationMicroseconds);

  private:
    bool m_awaiting = false;
    unsigned char* m_to = nullptr;
    unsigned m_maxSize = 0;
    afterGettingFunc* m_afterGetting = nullptr;
    void* m_afterGettingData = nullptr;
    onCloseFunc* m_onClose = nullptr;
    void* m_onCloseData = nullptr;
};
