#include <algorithm>
#include <memory>

#include "Dialogue.h"
#include "live/BasicUsageEnvironment.hh"
#include "live/GroupsockHelper.hh"
#include "live/env/Clock.h"
#include "live/liveMedia.hh"

namespace live_test {
namespace {

// One run of a client. Everything it learns becomes a line.
class Client;

class Sink : public MediaSink {
  public:
    Sink(Client& client, UsageEnvironment& env, MediaSubsession& subsession)
        : MediaSink(env), m_client(client), m_subsession(subsession) {}
    MediaSubsession& subsession() { return m_subsession; }
    Client& client() { return m_client; }

  protected:
    Boolean continuePlaying() override;

  private:
    void onFrame(unsigned size);
    Client& m_client;
    MediaSubsession& m_subsession;
    unsigned char m_buffer[4096];
};

class Client : public RTSPClient {
  public:
    Client(UsageEnvironment& env, const Script& script, const std::string& url, unsigned short port)
        : RTSPClient(env, url.c_str(), 0, "dialogue", script.transport == "http" ? port : 0, -1),
          m_script(script) {
        if (script.route.empty()) return;
        setRoute([&script](const std::string& host) {
            return host == script.route ? std::optional<std::string>("127.0.0.1") : std::nullopt;
        });
    }
    ~Client() override {
        for (Sink* sink : m_sinks)
            Medium::close(sink);
        Medium::close(m_session);
    }

    void start() { sendOptionsCommand(afterOptions); }
    void note(const std::string& line) {
        m_notes.push_back(line);
        const auto& wanted = m_script.expected;
        if (m_matched < wanted.size() && line.starts_with(wanted[m_matched])) ++m_matched;
        if (m_matched == wanted.size()) m_done = 1;
    }
    // Stops when all that is expected has come; goes on for a moment to catch what should not.
    EventLoopWatchVariable* done() { return &m_done; }
    const std::vector<std::string>& notes() const { return m_notes; }
    void tearDown() {
        for (Sink* sink : m_sinks)
            sink->stopPlaying();
        if (m_session && !m_sinks.empty()) sendTeardownCommand(*m_session, nullptr);
    }

  private:
    static Client& self(RTSPClient* client) { return *static_cast<Client*>(client); }
    bool noted(const std::string& what, int code, char* result) {
        const std::unique_ptr<char[]> owned(result);
        m_result = result ? result : "";
        note(what + " " + std::to_string(std::max(code, -1)) + " " + m_result);
        return code == 0;
    }
    static void afterOptions(RTSPClient* client, int code, char* result) {
        if (self(client).noted("OPTIONS", code, result)) client->sendDescribeCommand(afterDescribe);
    }
    static void afterDescribe(RTSPClient* client, int code, char* result) {
        Client& me = self(client);
        if (!me.noted("DESCRIBE", code, result)) return;
        me.m_session = MediaSession::createNew(client->envir(), me.m_result.c_str());
        if (!me.m_session) {
            me.note(std::string("SESSION ") + client->envir().getResultMsg());
            return;
        }
        me.m_next = std::make_unique<MediaSubsessionIterator>(*me.m_session);
        me.setupNext();
    }
    void setupNext() {
        while ((m_current = m_next->next())) {
            if (m_current->initiate()) {
                sendSetupCommand(*m_current, afterSetup, False, m_script.transport == "tcp",
                                 m_script.transport == "multicast");
                return;
            }
            note(std::string("INITIATE ") + m_current->mediumName() + " " + envir().getResultMsg());
        }
        if (!m_session->hasSubsessions())
            note("EMPTY");
        else
            sendPlayCommand(*m_session, afterPlay);
    }
    static void afterSetup(RTSPClient* client, int code, char* result) {
        Client& me = self(client);
        if (me.noted(std::string("SETUP ") + me.m_current->mediumName(), code, result)) {
            Sink* const sink = new Sink(me, client->envir(), *me.m_current);
            me.m_sinks.push_back(sink);
            sink->startPlaying(
                *me.m_current->readSource(),
                [](void* s) {
                    static_cast<Sink*>(s)->client().note(std::string("ENDED ") +
                                                         static_cast<Sink*>(s)->subsession().mediumName());
                },
                sink);
            me.m_current->rtcpInstance()->setByeHandler(
                [](void* s) {
                    static_cast<Sink*>(s)->client().note(std::string("BYE ") +
                                                         static_cast<Sink*>(s)->subsession().mediumName());
                },
                sink);
        }
        me.setupNext();
    }
    static void afterPlay(RTSPClient* client, int code, char* result) {
        Client& me = self(client);
        if (!me.noted("PLAY", code, result)) return;
        me.note("TIMEOUT " + std::to_string(client->sessionTimeoutParameter()));
        client->sendGetParameterCommand(*me.m_session, afterParameter, "");
    }
    static void afterParameter(RTSPClient* client, int code, char* result) {
        Client& me = self(client);
        // Once more, as a keep-alive would come again.
        if (!me.noted("PARAMETER", code, result) && code < 0 && me.m_script.transport == "udp") {
            client->sendGetParameterCommand(*me.m_session, afterParameter, "");
        }
    }

    const Script& m_script;
    EventLoopWatchVariable m_done{0};
    std::size_t m_matched = 0;
    std::vector<std::string> m_notes;
    std::string m_result;
    MediaSession* m_session = nullptr;
    std::unique_ptr<MediaSubsessionIterator> m_next;
    MediaSubsession* m_current = nullptr;
    std::vector<Sink*> m_sinks;
};

Boolean Sink::continuePlaying() {
    if (!fSource) return False;
    fSource->getNextFrame(
        m_buffer, sizeof m_buffer,
        [](void* self, unsigned size, unsigned, timeval, unsigned) {
            static_cast<Sink*>(self)->onFrame(size);
        },
        this, onSourceClosure, this);
    return True;
}

void Sink::onFrame(unsigned size) {
    m_client.note(std::string("FRAME ") + m_subsession.mediumName() + " " +
                  std::string(m_buffer + 1, m_buffer + std::max(size, 1u)));
    continuePlaying();
}

}  // namespace

std::vector<std::string> playClient(const Script& script, const std::string& url, unsigned short port) {
    const std::unique_ptr<BasicTaskScheduler> scheduler(BasicTaskScheduler::createNew());
    UsageEnvironment* const env = BasicUsageEnvironment::createNew(*scheduler);
    ReceivingInterfaceAddr = htonl(INADDR_LOOPBACK);
    auto* const client = new Client(*env, script, url, port);
    client->start();
    scheduler->scheduleDelayedTask(
        script.withinMilliseconds * int64_t{1000},
        [](void* c) {
            static_cast<Client*>(c)->note("NOTHING MORE");
            *static_cast<Client*>(c)->done() = 1;
        },
        client);
    scheduler->doEventLoop(client->done());
    client->tearDown();
    const std::vector<std::string> notes = client->notes();
    Medium::close(client);
    env->reclaim();
    return notes;
}

}  // namespace live_test
