// Uses the interface as the control does. Compiles against our implementation, as part of the tests, and
// against the real library's headers (real_headers_test.sh): that is how the two are kept alike.

#include "liveMedia.hh"

#include "BasicUsageEnvironment.hh"
#include "GroupsockHelper.hh"

namespace {

class Sink : public MediaSink {
  public:
    static Sink* createNew(UsageEnvironment& env, MediaSubsession& subsession) {
        return new Sink(env, subsession);
    }

  private:
    Sink(UsageEnvironment& env, MediaSubsession& subsession) : MediaSink(env), m_subsession(subsession) {
        unsigned count = 0;
        SPropRecord* const records = parseSPropParameterSets(subsession.fmtp_spropparametersets(), count);
        for (unsigned i = 0; i < count; ++i)
            m_seen += records[i].sPropLength ? records[i].sPropBytes[0] : 0;
        delete[] records;
    }
    ~Sink() override = default;

    static void afterGettingFrame(void* clientData, unsigned frameSize, unsigned numTruncatedBytes,
                                  struct timeval presentationTime, unsigned durationInMicroseconds) {
        Sink* const sink = static_cast<Sink*>(clientData);
        sink->m_seen += sink->m_subsession.getNormalPlayTime(presentationTime) + frameSize +
                        numTruncatedBytes + durationInMicroseconds;
        sink->continuePlaying();
    }
    Boolean continuePlaying() override {
        if (fSource == nullptr) return False;
        fSource->getNextFrame(m_buffer, sizeof m_buffer, afterGettingFrame, this, onSourceClosure, this);
        return True;
    }

    MediaSubsession& m_subsession;
    double m_seen = 0;
    unsigned char m_buffer[1000];
};

class Session : public MediaSession {
  public:
    static Session* createNew(UsageEnvironment& env, char const* sdp) {
        Session* const session = new Session(env);
        if (session->initializeWithSDP(sdp)) return session;
        Medium::close(session);
        return nullptr;
    }

  protected:
    explicit Session(UsageEnvironment& env) : MediaSession(env) {}
};

class Client : public RTSPClient {
  public:
    static Client* createNew(UsageEnvironment& env, char const* url, portNumBits tunnelPort) {
        return new Client(env, url, tunnelPort);
    }
    void driveSession(MediaSession& session);
    void stop(MediaSession& session);

  protected:
    Client(UsageEnvironment& env, char const* url, portNumBits tunnelPort)
        : RTSPClient(env, url, 0, "Agent", tunnelPort, -1) {}
    ~Client() override { envir().taskScheduler().unscheduleDelayedTask(m_task); }

  private:
    static void afterReply(RTSPClient*, int, char* resultString) { delete[] resultString; }
    static void onTimer(void* client) { static_cast<Client*>(client)->m_task = nullptr; }

    TaskToken m_task = nullptr;
    Authenticator m_credentials{"user", "password", False};
};

void Client::driveSession(MediaSession& session) {
    responseHandler* const handler = afterReply;
    unsigned sequence = sendOptionsCommand(handler, &m_credentials);
    sequence += sendDescribeCommand(handler);
    MediaSubsessionIterator subsessions(session);
    while (MediaSubsession* const subsession = subsessions.next()) {
        if (!subsession->initiate(-1)) {
            envir().setResultMsg(subsession->mediumName(), "/", subsession->codecName());
            continue;
        }
        if (RTPSource* const source = subsession->rtpSource()) {
            source->setPacketReorderingThresholdTime(50000);
            const int socket = source->RTPgs()->socketNum();
            if (getReceiveBufferSize(envir(), socket) < 100000) setReceiveBufferTo(envir(), socket, 100000);
            if (source->curPacketMarkerBit() && source->hasBeenSynchronizedUsingRTCP()) sequence += socket;
        }
        sendSetupCommand(*subsession, handler, False, True, False);
        subsession->sink = Sink::createNew(envir(), *subsession);
        subsession->miscPtr = this;
        subsession->sink->startPlaying(*subsession->readSource(), onTimer, this);
        if (subsession->rtcpInstance() != nullptr) subsession->rtcpInstance()->setByeHandler(onTimer, this);
        sequence += subsession->clientPortNum() + subsession->numChannels() +
                    subsession->rtpTimestampFrequency() + subsession->videoWidth() +
                    subsession->videoHeight() + subsession->videoFPS();
        envir().setResultErrMsg(subsession->fmtp_config());
        envir().setResultMsg(subsession->attrVal_str("mode"), subsession->protocolName(),
                             subsession->sessionId());
        if (&subsession->parentSession() != &session) return;
    }
    subsessions.reset();
    if (session.absStartTime() != nullptr) {
        sendPlayCommand(session, handler, session.absStartTime(), session.absEndTime(), session.scale(),
                        &m_credentials);
    } else {
        session.playEndTime() -= session.playStartTime();
        sendPlayCommand(session, handler, 0.0f, -1.0f, 1.0f, &m_credentials);
    }
    m_task =
        envir().taskScheduler().scheduleDelayedTask(int64_t{1000} * sessionTimeoutParameter(), onTimer, this);
    if (sequence == 0 || socketNum() < 0 || url() == nullptr)
        sendGetParameterCommand(session, nullptr, nullptr);
}

void Client::stop(MediaSession& session) {
    MediaSubsessionIterator subsessions(session);
    while (MediaSubsession* const subsession = subsessions.next()) {
        if (subsession->sink == nullptr) continue;
        subsession->sink->stopPlaying();
        if (subsession->rtcpInstance() != nullptr)
            subsession->rtcpInstance()->setByeHandler(nullptr, nullptr);
        Medium::close(subsession->sink);
        subsession->sink = nullptr;
    }
    sendTeardownCommand(session, nullptr, nullptr);
}

}  // namespace

// Runs the whole of it once, without a server.
int useInterface() {
    EventLoopWatchVariable stop{1};
    TaskScheduler* const scheduler = BasicTaskScheduler::createNew(10000);
    UsageEnvironment* const env = BasicUsageEnvironment::createNew(*scheduler);
    ReceivingInterfaceAddr = 0;
    RTSPClient::responseBufferSize = 100000;
    Client* const client = Client::createNew(*env, "rtsp://127.0.0.1:1/", 0);
    MediaSession* const plain = MediaSession::createNew(*env, "v=0\r\n");
    MediaSession* const session = Session::createNew(*env, "v=0\r\nm=audio 0 RTP/AVP 0\r\n");
    const bool good = client && plain && session && session->hasSubsessions() && *env->getResultMsg() == '\0';
    if (good) {
        client->driveSession(*session);
        scheduler->doEventLoop(&stop);
        client->stop(*session);
    }
    Medium::close(plain);
    Medium::close(session);
    Medium::close(client);
    env->reclaim();
    delete scheduler;
    return good ? 0 : 1;
}
