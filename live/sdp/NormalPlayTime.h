#pragma once

// The position in the session of each frame of one stream.
//
// It lives on the stream's own timestamps, so that it does not jump when presentation times do. Where the
// server said which timestamp is which position (RTP-Info), that counts; servers that send nonsense there are
// found out by the first frame. Otherwise the first frame of the session is the origin and each stream's
// first frame has its place by when it arrived.

#include <cstdint>
#include <optional>

namespace live::sdp {

/// From the reply to PLAY.
struct RtpInfo {
    std::optional<std::uint16_t> sequence;
    std::optional<std::uint32_t> timestamp;
};

/// Shared by the streams of a session.
struct PlayTimeOrigin {
    double start = 0;  // position that PLAY began at
    double scale = 1;
    unsigned generation = 0;                 // one more for every PLAY
    std::optional<std::int64_t> firstFrame;  // when it arrived, steady microseconds
};

class NormalPlayTime {
  public:
    void setRtpInfo(const RtpInfo& info) { m_rtpInfo = info; }

    /// `extendedTimestamp`: over wraps. `sender`: changes when the timestamps start anew.
    double at(std::int64_t extendedTimestamp, unsigned clockRate, unsigned sender,
              std::int64_t nowMicroseconds, PlayTimeOrigin& origin);

  private:
    void rebase(std::int64_t timestamp, unsigned clockRate, unsigned sender, std::int64_t now,
                PlayTimeOrigin& origin);

    RtpInfo m_rtpInfo;
    bool m_based = false;
    unsigned m_sender = 0;
    unsigned m_generation = 0;
    std::int64_t m_baseTimestamp = 0;
    double m_basePosition = 0;
    double m_lastPosition = 0;
    std::int64_t m_lastArrival = 0;
};

}  // namespace live::sdp
