#pragma once

// A described session: what can be received, and, once it is being received, with what.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "live/env/Medium.h"
#include "live/media/MediaSink.h"
#include "live/net/Groupsock.h"
#include "live/rtp/RTCPInstance.h"
#include "live/rtp/RTPSource.h"
#include "live/rtp/Timeline.h"
#include "live/sdp/SdpDescription.h"

class MediaSubsession;

namespace live::rtp {
class RtpFrameSource;
class WayOpener;
}  // namespace live::rtp

class MediaSession : public Medium {
  public:
    /// NULL, with the reason in the environment, when the text is no SDP description.
    static MediaSession* createNew(UsageEnvironment& env, char const* sdpDescription);

    /// Asked before each multicast group that the description, or the server, names; null allows all. Called
    /// from the event loop.
    void setGroupRule(std::function<bool()> mayJoin) { m_mayJoin = std::move(mayJoin); }
    bool mayJoinGroups() const { return !m_mayJoin || m_mayJoin(); }

    Boolean hasSubsessions() const { return !m_subsessions.empty(); }
    char const* controlPath() const { return m_description.control.c_str(); }
    char const* mediaSessionType() const { return m_description.type.c_str(); }
    char const* sessionName() const { return m_description.name.c_str(); }

    /// Seconds; an end of 0 is open.
    double& playStartTime() { return m_range.start; }
    double& playEndTime() { return m_range.end; }
    /// As the server wrote them; NULL when it states none.
    char const* absStartTime() const;
    char const* absEndTime() const;
    float& scale() { return m_scale; }

    /// What the reply to PLAY said; not for users.
    void setPlayed(const live::sdp::PlayRange* range, float scale);
    live::rtp::SessionTimeline& timeline() { return m_timeline; }

  protected:
    explicit MediaSession(UsageEnvironment& env);
    ~MediaSession() override;
    Boolean initializeWithSDP(char const* sdpDescription);

  private:
    friend class MediaSubsessionIterator;

    std::function<bool()> m_mayJoin;
    live::sdp::Description m_description;
    live::sdp::PlayRange m_range;
    float m_scale = 1.0f;
    live::rtp::SessionTimeline m_timeline;
    std::vector<std::unique_ptr<MediaSubsession>> m_subsessions;
};

class MediaSubsessionIterator {
  public:
    explicit MediaSubsessionIterator(MediaSession const& session) : m_session(session) {}
    virtual ~MediaSubsessionIterator() = default;
    MediaSubsession* next();
    void reset() { m_next = 0; }

  private:
    MediaSession const& m_session;
    std::size_t m_next = 0;
};

class MediaSubsession {
  public:
    MediaSubsession(MediaSession& parent, const live::sdp::Media& media);
    ~MediaSubsession();
    MediaSubsession(const MediaSubsession&) = delete;
    MediaSubsession& operator=(const MediaSubsession&) = delete;

    MediaSession& parentSession() { return m_parent; }
    MediaSession const& parentSession() const { return m_parent; }

    char const* mediumName() const { return m_media.medium.c_str(); }
    char const* codecName() const { return m_media.codec.c_str(); }
    char const* protocolName() const { return m_media.protocol.c_str(); }
    char const* controlPath() const { return m_media.control.c_str(); }
    unsigned short clientPortNum() const { return m_clientPort; }
    unsigned char rtpPayloadFormat() const { return static_cast<unsigned char>(m_media.payloadType); }
    unsigned rtpTimestampFrequency() const { return m_media.clockRate; }
    unsigned numChannels() const { return m_media.channels; }
    unsigned short videoWidth() const { return static_cast<unsigned short>(m_media.width); }
    unsigned short videoHeight() const { return static_cast<unsigned short>(m_media.height); }
    unsigned videoFPS() const { return static_cast<unsigned>(m_media.framesPerSecond); }

    /// Format parameters, "" when the description states none.
    char const* attrVal_str(char const* name) const;
    unsigned attrVal_int(char const* name) const;
    char const* fmtp_config() const { return attrVal_str("config"); }
    char const* fmtp_spropparametersets() const { return attrVal_str("sprop-parameter-sets"); }

    /// Makes sockets and the source; False with the reason in the environment. Once made, it stays.
    Boolean initiate(int useSpecialRTPoffset = -1);
    void deInitiate();
    /// The last attempt to have sockets failed; of a multicast group, because group or port was not to be
    /// had.
    bool socketsRefused() const { return m_socketsRefused; }
    bool groupRefused() const { return m_groupRefused; }
    FramedSource* readSource() const;
    RTPSource* rtpSource() const;
    RTCPInstance* rtcpInstance() const { return m_rtcp; }

    /// Seconds of the session at which a delivered frame plays (live/rtp/Timeline.h). Goes on also where
    /// presentation times change to the sender's clock.
    double getNormalPlayTime(struct timeval const& presentationTime);

    char const* sessionId() const { return m_sessionId.c_str(); }

    /// For the user.
    MediaSink* sink = nullptr;
    void* miscPtr = nullptr;

    /// What follows is the RTSP client's.
    void setSessionId(std::string id) { m_sessionId = std::move(id); }
    ipv4AddressBits connectionEndpointAddress() const;
    ipv4AddressBits sourceFilterAddress() const;
    /// Unicast: where the server says that it sends from (0: it doesn't), and its own address; ports 0 where
    /// it states none. Reports go there, and the way for its packets is opened.
    struct Peer {
        ipv4AddressBits stated = 0;
        ipv4AddressBits server = 0;
        portNumBits rtpPort = 0;
        portNumBits rtcpPort = 0;
        std::optional<std::uint32_t> ssrc;
    };
    void setPeer(const Peer& peer);
    /// Multicast as the server's reply says; makes the sockets anew when they are bound to something else.
    bool moveToGroup(ipv4AddressBits group, portNumBits rtpPort, const Peer& peer);
    bool receiveInterleaved(live::rtp::InterleavedConnection& connection, unsigned rtpChannel,
                            unsigned rtcpChannel);
    void setRtpInfo(std::optional<std::uint32_t> timestamp);

  private:
    bool openUnicastSockets();
    bool openGroupSockets(ipv4AddressBits group, portNumBits port, ipv4AddressBits source);
    bool createSource();
    UsageEnvironment& env() const { return m_parent.envir(); }

    MediaSession& m_parent;
    const live::sdp::Media m_media;
    std::string m_sessionId;
    portNumBits m_clientPort = 0;
    bool m_socketsRefused = false;
    bool m_groupRefused = false;
    std::unique_ptr<Groupsock> m_rtpSocket;
    std::unique_ptr<Groupsock> m_rtcpSocket;
    live::rtp::RtpFrameSource* m_source = nullptr;  // ended with Medium::close
    RTCPInstance* m_rtcp = nullptr;                 // the same, before the source
    std::unique_ptr<live::rtp::WayOpener> m_wayOpener;
};
