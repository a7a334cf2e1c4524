#pragma once

// RTP and RTCP inside an RTSP connection (RFC 2326, 10.12): who sends, and who receives what came on a
// channel.

#include "live/rtp/ByteReader.h"

namespace live::rtp {

class InterleavedReceiver {
  public:
    virtual void onInterleaved(Bytes packet) = 0;
    /// There is nothing to remove the receiver from any more. `lost`: not because of us.
    virtual void onConnectionEnded(bool lost) = 0;

  protected:
    ~InterleavedReceiver() = default;
};

class InterleavedConnection {
  public:
    virtual bool sendInterleaved(unsigned channel, Bytes packet) = 0;
    /// False when the channel is taken.
    virtual bool addReceiver(unsigned channel, InterleavedReceiver& receiver) = 0;
    virtual void removeReceiver(InterleavedReceiver& receiver) = 0;

  protected:
    ~InterleavedConnection() = default;
};

}  // namespace live::rtp
