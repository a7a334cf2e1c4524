#pragma once

// A connection without a system around it: a host that writes down what it is told, a camera whose replies a
// test sets, and workers that run when the test lets them.

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <thread>

#include "control/connection/Connection.h"
#include "tests/support/MediaPlatformFake.h"

namespace norix::test {

using Texts = std::vector<std::string>;

/// The camera as far as it is asked before a stream.
struct FakeCamera {
    std::function<HttpReply(const HttpRequest&)> answer;  // null: nobody answers
    std::vector<HttpRequest> requests;
    KsOnvifResult onvif = kKsOnvifNotFound;  // of every call
    std::string onvifUri;
    std::uint32_t onvifFrameRate = 0;
    int onvifAsked = 0;
    std::string onvifUser;
    std::array<std::uint32_t, 3> onvifProfile{};  // channel, stream and codec that were asked for

    static HttpReply Reply(unsigned status, std::string body = {}) {
        HttpReply reply;
        reply.answered = true;
        reply.status = status;
        reply.headers = "HTTP/1.0 " + std::to_string(status) + "\r\n";
        reply.body = std::move(body);
        return reply;
    }
    /// A camera with one channel and these codecs.
    void AnswerAs(const std::string& codecs, bool onvifSupport = false) {
        answer = [codecs, onvifSupport](const HttpRequest& request) {
            if (request.path.find("systeminfo") != std::string::npos)
                return Reply(200, onvifSupport ? "ONVIFSupport=1\n" : "Model=Test\n");
            if (request.path.find("video_codectype") != std::string::npos)
                return Reply(200, "video_codectype=" + codecs + "\n");
            if (request.body.find("rtsp_rtspport") != std::string::npos)
                return Reply(200, "rtsp_rtspport=8554\nhttp_httpport=8080\n");
            return Reply(200, "");
        };
    }
};

class FakeServices final : public CameraServices, private HttpTransport, private IKsOnvifMedia {
  public:
    explicit FakeServices(FakeCamera& camera) : m_camera(camera) {}
    HttpTransport& Transport() override { return *this; }
    IKsOnvifMedia& Onvif() override { return *this; }

  private:
    HttpReply Send(const HttpRequest& request) override {
        m_camera.requests.push_back(request);
        return m_camera.answer ? m_camera.answer(request) : HttpReply{};
    }
    void KSONVIF_CALL Release() noexcept override {}
    std::uint32_t KSONVIF_CALL InterfaceVersion() noexcept override { return kKsOnvifInterfaceVersion; }
    KsOnvifResult KSONVIF_CALL Open(const KsOnvifCamera* camera) noexcept override {
        ++m_camera.onvifAsked;
        m_camera.onvifUser = camera->user;
        return m_camera.onvif;
    }
    KsOnvifResult KSONVIF_CALL GetProfileByIndex(std::uint32_t channel, std::uint32_t stream,
                                                 std::uint32_t codec, char* token,
                                                 std::uint32_t) noexcept override {
        m_camera.onvifProfile = {channel, stream, codec};
        token[0] = 'p', token[1] = '\0';
        return m_camera.onvif;
    }
    KsOnvifResult KSONVIF_CALL GetProfileByToken(const char*) noexcept override { return m_camera.onvif; }
    KsOnvifResult KSONVIF_CALL GetStreamUri(const char*, std::uint32_t, char* uri,
                                            std::uint32_t room) noexcept override {
        m_camera.onvifUri.copy(uri, room - 1);
        return m_camera.onvif;
    }
    KsOnvifResult KSONVIF_CALL GetFrameRateLimit(const char*, std::uint32_t* limit) noexcept override {
        *limit = m_camera.onvifFrameRate;
        return m_camera.onvif;
    }

    FakeCamera& m_camera;
};

class FakeReception final : public StreamReception {
  public:
    explicit FakeReception(std::shared_ptr<SessionContext> session) : m_param(std::move(session)) {}

    bool StartRtsp(SessionSettings source) override {
        rtsp = std::move(source);
        return canStart;
    }
    bool BeginHttp(const HttpSource& source, std::function<void()> whenDecided) override {
        http = source;
        decided = std::move(whenDecided);
        return canStart;
    }
    Answer TakeHttpAnswer() override { return answer; }
    std::shared_ptr<CDecoder> Decoder() const override { return decoder; }
    void StopOutput() override { shows = false; }
    void BeginStop() override { stopping = true; }
    bool Stop() override {
        stopping = true;
        if (!hangs) LetGo();
        return !hangs;
    }
    std::weak_ptr<const void> Users() const override { return m_lease; }

    bool canStart = true;
    bool hangs = false;  // a thread does not end, until LetGo
    void LetGo() { m_param.reset(), m_lease.reset(); }
    Answer answer = Answer::Streaming;
    std::shared_ptr<CDecoder> decoder;
    bool shows = true;
    bool stopping = false;
    std::optional<SessionSettings> rtsp;
    std::optional<HttpSource> http;
    std::function<void()> decided;

  private:
    std::shared_ptr<SessionContext> m_param;
    std::shared_ptr<int> m_lease = std::make_shared<int>(0);
};

/// Runs workers at once, or when it is told to.
class FakeMeans final : public ConnectionMeans {
  public:
    FakeMeans(FakeCamera& theCamera, std::shared_ptr<SessionContext> session)
        : camera(theCamera), m_session(std::move(session)) {}

    std::shared_ptr<StreamReception> MakeReception() override {
        auto made = std::make_shared<FakeReception>(m_session);
        if (prepareReception) prepareReception(*made);
        receptions.push_back(made);
        return made;
    }
    std::shared_ptr<CameraServices> MakeCameraServices() override {
        return std::make_shared<FakeServices>(camera);
    }
    std::optional<SignIn> LoadSignIn(const protocol::Origin& origin) override {
        const std::string& server = origin.host;
        const auto found = saved.find(server);
        return found == saved.end() ? std::nullopt : std::optional(found->second);
    }
    void SaveSignIn(const protocol::Origin& origin, const SignIn& signIn) override {
        saved[origin.host] = signIn;
    }
    bool RunBeside(std::function<void()> body) override {
        if (!threads) return false;
        work.push_back(std::move(body));
        return true;
    }
    /// Lets the workers do what they have been given.
    void RunWork() {
        while (!work.empty()) {
            const auto body = std::move(work.front());
            work.erase(work.begin());
            body();
        }
    }

    struct Signal final : StepSignal {
        explicit Signal(FakeMeans& m, unsigned s) : means(m), step(s) {}
        void Done() override {
            done = true;
            if (!means.queueFull) means.posted.push_back(step);
        }
        bool IsDone() const override { return done; }
        FakeMeans& means;
        const unsigned step;
        bool done = false;
    };
    std::shared_ptr<StepSignal> MakeSignal(unsigned step) override {
        return std::make_shared<Signal>(*this, step);
    }
    bool Await(StepSignal& signal, unsigned) override {
        ++waits;
        RunWork();
        if (!receptions.empty() && receptions.back()->decided)
            std::exchange(receptions.back()->decided, nullptr)();
        if (whileWaiting) std::exchange(whileWaiting, nullptr)();
        return static_cast<Signal&>(signal).done;
    }

    FakeCamera& camera;
    std::vector<std::shared_ptr<FakeReception>> receptions;
    std::function<void(FakeReception&)> prepareReception;
    std::map<std::string, SignIn> saved;
    std::vector<std::function<void()>> work;
    std::vector<unsigned> posted;  // steps that the window's queue would hold
    bool queueFull = false;        // which takes no step any more
    bool threads = true;
    int waits = 0;
    std::function<void()> whileWaiting;  // what a message does that is answered meanwhile

  private:
    const std::shared_ptr<SessionContext> m_session;
};

class FakeHost final : public ConnectionHost {
  public:
    ConnectionSettings Settings() const override { return settings; }
    void SetHttpPort(std::int32_t port) override { settings.httpPort = port; }
    void SetServerIP(const std::string& host) override { settings.serverIP = host; }
    UserChoices ReadUserChoices() override { return choices; }
    bool MayReach(const std::string& host) override {
        return std::find(forbidden.begin(), forbidden.end(), host) == forbidden.end();
    }
    bool MayReachGroups() override {
        ++groupsAsked;
        return mayReachGroups;
    }
    std::function<bool()> GroupRule() const override { return groupRule; }
    PlainStream JudgePlainStream(const std::string&) override { return plainStream; }
    bool IsTrusted() override { return trusted; }
    bool IsUserAsked() override { return userAsked; }
    bool LooksUp(const std::vector<std::string>& hosts) override { return lookedUp = hosts, looksUp; }
    bool WaitForWindow() override { return window; }
    bool HasWindow() const override { return window; }
    void StartTimer(ConnectionTimer timer, unsigned milliseconds) override { timers[timer] = milliseconds; }
    void StopTimer(ConnectionTimer timer) override { timers.erase(timer); }
    void ShowPicture(StatusPicture p) override { picture = p; }
    void ShowCaption(const std::wstring& text) override { caption = text; }
    std::wstring Caption() const override { return caption; }
    void Redraw() override { ++redrawn; }
    void ShowStatusText(const std::string& text) override { statusText = text; }
    void FireStatus(EConnectStatus status) override {
        fired.push_back(status);
        if (onStatus) onStatus(status);
    }
    void ReportFrameRate(int rate) override { rates.push_back(rate); }
    void AskForSignIn() override { ++signInsAsked; }
    void WithdrawSignIn() override {}
    void ConnectionBegins() override { ++begun; }
    void EndDigitalPtz() override {}
    void ConnectionEnds() override { ++ended; }
    void DropReports() override { ++dropped; }
    void SendDisconnectNotice() override { connection->OnConnectStatus(ecsDisconnect); }

    std::vector<EConnectStatus> Take() { return std::exchange(fired, {}); }
    std::optional<unsigned> Timer(ConnectionTimer timer) const {
        const auto found = timers.find(timer);
        return found == timers.end() ? std::nullopt : std::optional(found->second);
    }

    Connection* connection = nullptr;
    ConnectionSettings settings;
    UserChoices choices;
    std::vector<std::string> forbidden;
    bool mayReachGroups = true;
    int groupsAsked = 0;
    std::function<bool()> groupRule;
    PlainStream plainStream = PlainStream::Told;
    bool trusted = true;
    bool userAsked = false;
    Texts lookedUp;  // the names of the last such question
    bool looksUp = false;
    bool window = true;
    std::map<ConnectionTimer, unsigned> timers;
    StatusPicture picture = StatusPicture::Disconnect;
    std::wstring caption;
    std::string statusText;
    std::vector<EConnectStatus> fired;
    std::function<void(EConnectStatus)> onStatus;
    std::vector<int> rates;
    int redrawn = 0, signInsAsked = 0, begun = 0, ended = 0, dropped = 0;
};

struct FakeConnection {
    FakeConnection() { host.connection = &connection; }
    ~FakeConnection() { connection.FinishDisconnect(Connection::Finish::Quietly); }

    /// What the queue of the window holds is dispatched, and workers do what they have been given.
    void Pump() {
        do {
            means.RunWork();
            for (const unsigned step : std::exchange(means.posted, {}))
                connection.OnStepDone(step);
        } while (!means.work.empty() || !means.posted.empty());
    }
    FakeReception& Reception() { return *means.receptions.back(); }
    std::string Uri() { return Reception().rtsp ? Reception().rtsp->streamUri : "none"; }

    platform::FakePlatform platform;
    std::shared_ptr<SessionContext> session = std::make_shared<SessionContext>();
    FakeCamera camera;
    FakeHost host;
    FakeMeans means{camera, session};
    CameraLink link{host, means};
    Connection connection{host, means, link, session};
};

}  // namespace norix::test
