#pragma once

// When frames play: one timeline per session, on which every stream of it has its place.
//
// A stream's own RTP timestamps make its time go on. Where a stream stands on the session's timeline is
// settled anew ("re-based") only then:
//
//   first frame      at what RTP-Info says, unless that is more than 10 s away (many cameras write
//                    rtptime=0); otherwise as long after the session's first frame as it arrived
//   sender reports   the first one ties the session's timeline to the sender's clock. A stream whose reports
//                    say that it is elsewhere is moved there, if it is off by 20 ms to 10 s: by its first
//                    report at once, where it would have to go back all others that have reports go forward
//                    instead; later by the median of three, either way, so slowly that no frame goes back
//   sender's clock   set to another time, by 0.1 s or more: tied anew, nobody moves
//   timestamps       that jump back by more than 0.5 s (less is the order of B-pictures), or ahead of their
//                    arrival by more than 10 s (less is a group of pictures that the server had kept), and
//                    timestamps of a new sender: time goes on as it passed here
//   PLAY             everything anew, from where the server says that it plays
//
// A report that comes with timestamps more than 10 s away from the frames', or that was made before the
// latest PLAY, says nothing about them.
//
// Positions are microseconds, so nothing wraps. Pure: the present moment is always an argument. One thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "live/rtp/RtcpPacket.h"

namespace live::rtp {

class SessionTimeline {
  public:
    /// PLAY begins or has begun at this position (seconds).
    void play(double start, double scale);
    double scale() const { return m_scale; }
    void setStart(double seconds);
    double start() const { return static_cast<double>(m_start) * 1e-6; }

  private:
    friend class StreamTimeline;

    std::int64_t m_start = 0;
    double m_scale = 1;
    unsigned m_generation = 0;                  // one more for every PLAY
    std::optional<std::int64_t> m_firstFrame;   // when it arrived, steady clock
    std::optional<std::int64_t> m_senderClock;  // position of the sender's time 0
    std::int64_t m_shift = 0;  // by how much streams that have reports have been moved forward, in all
};

class StreamTimeline {
  public:
    /// The session's is shared with its other streams and outlives this.
    StreamTimeline(SessionTimeline& session, unsigned clockRate)
        : m_session(session), m_clockRate(clockRate) {}

    /// The timestamp that the reply to PLAY gives for its beginning.
    void setRtpInfo(std::optional<std::uint32_t> timestamp) { m_rtpInfo = timestamp; }
    /// Another sender: its timestamps have nothing to do with those before.
    void onNewSender();
    void onSenderReport(const SenderReport& report);
    bool synchronized() const { return m_report.has_value(); }

    struct Time {
        std::int64_t position = 0;  // in the session
        std::int64_t wall = 0;      // the sender's clock; before the first report that of the first arrival
    };
    /// Of a frame that came now; `wallNow` is the wall clock.
    Time at(std::uint32_t timestamp, std::int64_t steadyNow, std::int64_t wallNow);

  private:
    struct Report {
        std::int64_t extended;  // timestamp
        std::int64_t wall;
    };

    std::int64_t microseconds(std::int64_t ticks) const;
    std::int64_t positionOf(std::int64_t extended) const;
    bool jumped(std::int64_t distance, std::int64_t now) const;
    bool staleReport() const;
    void begin(std::int64_t now);
    void carryOn(std::int64_t now);
    void align();
    void correct(std::int64_t behind);
    void slew(std::int64_t passed);
    void follow();

    SessionTimeline& m_session;
    unsigned m_clockRate;
    std::optional<std::uint32_t> m_rtpInfo;

    bool m_started = false;    // a timestamp is known
    bool m_placed = false;     // ... and has its position
    bool m_newSender = false;  // the next frame is its first
    unsigned m_generation = 0;
    std::int64_t m_last = 0;  // timestamp, extended over wraps
    std::int64_t m_baseTimestamp = 0;
    std::int64_t m_basePosition = 0;
    std::int64_t m_latest = 0;  // position; the greatest so far
    std::int64_t m_lastArrival = 0;

    std::int64_t m_wallTimestamp = 0;  // the wall clock's own base
    std::int64_t m_wall = 0;
    std::optional<Report> m_report;
    unsigned m_reportGeneration = 0;
    bool m_aligned = false;               // moves with the others
    std::array<std::int64_t, 3> m_off{};  // by how much the latest reports say that the stream is behind
    std::size_t m_offCount = 0;           // since the last correction
    std::int64_t m_owed = 0;              // of the last correction, what frames have not gone along with
    std::int64_t m_shift = 0;             // how much of the session's this stream has gone along with
};

}  // namespace live::rtp
