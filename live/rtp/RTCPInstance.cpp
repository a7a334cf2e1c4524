#include "live/rtp/RTCPInstance.h"

#include <utility>

#include "live/env/Clock.h"
#include "live/env/Random.h"
#include "live/rtp/RtpFrameSource.h"
#include "net/Sockets.h"

namespace rtp = live::rtp;

namespace {

constexpr std::size_t kMaxDatagram = 8192;
constexpr int kMaxBatch = 32;
// RFC 3550, 6.2 and 6.3.1: the least interval, spread by half of it either way.
constexpr double kInterval = 5.0;
constexpr double kFirstReport = 0.5;

std::string canonicalName() {
    char host[256] = "";
    if (::gethostname(host, sizeof host - 1) != 0) host[0] = '\0';
    return host[0] ? host : "localhost";
}

}  // namespace

RTCPInstance* RTCPInstance::createNew(UsageEnvironment& env, Groupsock* groupsock,
                                      rtp::RtpFrameSource& source) {
    return new RTCPInstance(env, groupsock, source);
}

RTCPInstance::RTCPInstance(UsageEnvironment& env, Groupsock* groupsock, rtp::RtpFrameSource& source)
    : Medium(env),
      m_groupsock(nullptr),
      m_source(source),
      m_ssrc(live::random32()),
      m_name(canonicalName()),
      m_datagram(kMaxDatagram) {
    readFrom(groupsock);
    scheduleReport(kFirstReport);
}

RTCPInstance::~RTCPInstance() {
    envir().taskScheduler().unscheduleDelayedTask(nextTask());
    if (m_reported) {
        rtp::buildBye(m_ssrc, m_packet);
        send(m_packet);
    }
    if (m_connection) m_connection->removeReceiver(*this);
    if (m_groupsock) envir().taskScheduler().disableBackgroundHandling(m_groupsock->socketNum());
}

void RTCPInstance::setByeHandler(TaskFunc* handlerTask, void* clientData,
                                 Boolean handleActiveParticipantsOnly) {
    m_byeHandler = handlerTask;
    m_byeHandlerData = clientData;
    m_activeOnly = handleActiveParticipantsOnly;
}

bool RTCPInstance::useInterleaved(rtp::InterleavedConnection& connection, unsigned channel) {
    if (m_connection) m_connection->removeReceiver(*this);
    m_connection = nullptr;
    if (!connection.addReceiver(channel, *this)) return false;
    m_connection = &connection;
    m_channel = channel;
    if (m_groupsock) envir().taskScheduler().disableBackgroundHandling(m_groupsock->socketNum());
    return true;
}

void RTCPInstance::replaceGroupsock(Groupsock* groupsock) {
    readFrom(groupsock);
}

void RTCPInstance::readFrom(Groupsock* groupsock) {
    if (m_groupsock) envir().taskScheduler().disableBackgroundHandling(m_groupsock->socketNum());
    m_groupsock = groupsock;
    if (!m_groupsock) return;
    envir().taskScheduler().setBackgroundHandling(
        m_groupsock->socketNum(), SOCKET_READABLE,
        [](void* self, int) { static_cast<RTCPInstance*>(self)->onReadable(); }, this);
}

void RTCPInstance::onReadable() {
    const live::LifeFlag::Watch alive(m_life);
    for (int i = 0; i < kMaxBatch; ++i) {
        ipv4AddressBits from = 0;
        portNumBits port = 0;
        const std::ptrdiff_t size = m_groupsock->receive(m_datagram, from, port);
        if (size < 0) return;
        if (!m_source.acceptsControlFrom(from)) continue;
        onInterleaved(rtp::Bytes(m_datagram).first(static_cast<std::size_t>(size)));
        if (!alive) return;
    }
}

void RTCPInstance::onInterleaved(rtp::Bytes packet) {
    const live::LifeFlag::Watch alive(m_life);
    m_byeReceived = false;
    rtp::parseRtcp(packet, *this);
    // After parsing, because the handler may end us.
    if (!alive || !m_byeReceived || !m_byeHandler) return;
    TaskFunc* const handler = std::exchange(m_byeHandler, nullptr);
    handler(m_byeHandlerData);
}

void RTCPInstance::onConnectionEnded(bool) {
    m_connection = nullptr;
}

void RTCPInstance::onSenderReport(const rtp::SenderReport& report) {
    m_source.onSenderReport(report);
}

void RTCPInstance::onBye(std::uint32_t ssrc) {
    if (!m_activeOnly || m_source.isSender(ssrc)) m_byeReceived = true;
}

void RTCPInstance::scheduleReport(double seconds) {
    envir().taskScheduler().rescheduleDelayedTask(
        nextTask(), static_cast<int64_t>(seconds * live::kMicrosecondsPerSecond),
        [](void* self) { static_cast<RTCPInstance*>(self)->sendReport(); }, this);
}

void RTCPInstance::sendReport() {
    const auto report = m_source.takeReceptionReport();
    rtp::buildReceiverReport(m_ssrc, report ? &*report : nullptr, m_name, m_packet);
    send(m_packet);
    constexpr double kUnit = 1.0 / 4294967296.0;
    scheduleReport(kInterval * (0.5 + live::random32() * kUnit));
}

void RTCPInstance::send(rtp::Bytes packet) {
    const bool sent = m_connection ? m_connection->sendInterleaved(m_channel, packet)
                                   : m_groupsock && m_groupsock->send(packet);
    if (sent) m_reported = true;
}
