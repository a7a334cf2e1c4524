#pragma once

// The control channel of one RTP source: reports what we receive, learns the sender's clock, hears that it
// leaves.

#include <string>
#include <vector>

#include "live/env/LifeFlag.h"
#include "live/env/Medium.h"
#include "live/net/Groupsock.h"
#include "live/rtp/Interleaved.h"
#include "live/rtp/RtcpPacket.h"

namespace live::rtp {
class RtpFrameSource;
}

class RTCPInstance : public Medium, private live::rtp::InterleavedReceiver, private live::rtp::RtcpReceiver {
  public:
    /// Neither is owned; the source has to live longer.
    static RTCPInstance* createNew(UsageEnvironment& env, Groupsock* groupsock,
                                   live::rtp::RtpFrameSource& source);

    /// Called once when the sender says BYE; with handleActiveParticipantsOnly only when it is the one whose
    /// packets we receive. NULL takes the handler back.
    void setByeHandler(TaskFunc* handlerTask, void* clientData, Boolean handleActiveParticipantsOnly = True);

    bool useInterleaved(live::rtp::InterleavedConnection& connection, unsigned channel);
    void replaceGroupsock(Groupsock* groupsock);

  protected:
    RTCPInstance(UsageEnvironment& env, Groupsock* groupsock, live::rtp::RtpFrameSource& source);
    ~RTCPInstance() override;

  private:
    void readFrom(Groupsock* groupsock);
    void onReadable();
    void sendReport();
    void send(live::rtp::Bytes packet);
    void scheduleReport(double seconds);
    void onInterleaved(live::rtp::Bytes packet) override;
    void onConnectionEnded(bool lost) override;
    void onSenderReport(const live::rtp::SenderReport& report) override;
    void onBye(std::uint32_t ssrc) override;

    live::LifeFlag m_life;
    Groupsock* m_groupsock;
    live::rtp::RtpFrameSource& m_source;
    live::rtp::InterleavedConnection* m_connection = nullptr;
    unsigned m_channel = 0;
    const std::uint32_t m_ssrc;
    const std::string m_name;
    std::vector<unsigned char> m_datagram;
    std::vector<unsigned char> m_packet;
    bool m_reported = false;
    bool m_byeReceived = false;
    TaskFunc* m_byeHandler = nullptr;
    void* m_byeHandlerData = nullptr;
    bool m_activeOnly = true;
};
