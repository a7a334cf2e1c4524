// Talking back through the control's members and its panel, to cameras of the test's own. The microphone is
// one that counts: whatever arrives is to be a row of whole samples.

#include <winsock2.h>

#include <windows.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "net/KnownServers.h"
#include "tests/windows/control/ControlFixture.h"
#include "util/Handles.h"

namespace norix::test {
namespace {

constexpr DWORD kPatience = 20000;  // ms, for what comes at once on an idle machine

/// Fills a block as often as it is asked for one: every 5 ms.
class FakeMicrophone final : public VoiceInput {
  public:
    static inline std::atomic<int> alive{0};  // opened and not stopped
    static inline std::atomic<bool> missing{false};
    static inline std::atomic<bool> pulled{false};  // takes no block back

    ~FakeMicrophone() override { Stop(); }
    bool Open(std::uint32_t rate) noexcept override {
        if (missing) return false;
        m_rate = rate;
        m_block.resize(BlockSamples(rate));
        m_open = true;
        ++alive;
        return true;
    }
    std::uint32_t Rate() const noexcept override { return m_rate; }
    bool Start() noexcept override {
        m_filler = std::thread([this] {
            while (!m_end.Wait(5))
                ReleaseSemaphore(m_filled.Get(), 1, nullptr);
        });
        return true;
    }
    void Stop() noexcept override {
        m_end.Set();
        if (m_filler.joinable()) m_filler.join();
        if (std::exchange(m_open, false)) --alive;
    }
    HANDLE Filled() const noexcept override { return m_filled.Get(); }
    std::span<const std::int16_t> Take() noexcept override {
        for (std::int16_t& sample : m_block)
            sample = static_cast<std::int16_t>(0x1234);
        return m_block;
    }
    bool GiveBack() noexcept override { return !pulled; }
    std::uint32_t LastError() const noexcept override { return 0; }

  private:
    std::uint32_t m_rate = 0;
    bool m_open = false;
    std::vector<std::int16_t> m_block;
    util::UniqueHandle m_filled{CreateSemaphoreW(nullptr, 0, 10, nullptr)};
    util::Event m_end{util::Event::Kind::kManualReset};
    std::thread m_filler;
};

/// A camera's loudspeaker: answers each connection with the next text, the last one again and again, and
/// keeps what is said.
class Loudspeaker {
  public:
    explicit Loudspeaker(std::vector<std::string> answers, bool reads = true)
        : m_answers(std::move(answers)), m_reads(reads) {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        m_listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int length = sizeof address;
        bind(m_listener, reinterpret_cast<sockaddr*>(&address), length);
        listen(m_listener, 8);
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] { Serve(); });
    }
    ~Loudspeaker() {
        m_end.Set();
        m_thread.join();
        closesocket(m_listener);
        WSACleanup();
    }
    Loudspeaker(const Loudspeaker&) = delete;
    Loudspeaker& operator=(const Loudspeaker&) = delete;

    long Port() const { return m_port; }
    std::string Said() const {
        const std::lock_guard<std::mutex> lock(m_lock);
        return m_said;
    }
    /// Of connections that are over.
    int Ended() const {
        const std::lock_guard<std::mutex> lock(m_lock);
        return m_ended;
    }

  private:
    bool Readable(SOCKET socket) {
        while (!m_end.Wait(0)) {
            fd_set set = {1, {socket}};
            timeval moment = {0, 10'000};
            if (select(0, &set, nullptr, nullptr, &moment) > 0) return true;
        }
        return false;
    }
    void Serve() {
        for (std::size_t i = 0; Readable(m_listener); ++i) {
            const SOCKET connection = accept(m_listener, nullptr, nullptr);
            Hear(connection, m_answers[std::min(i, m_answers.size() - 1)]);
            closesocket(connection);
            const std::lock_guard<std::mutex> lock(m_lock);
            ++m_ended;
        }
    }
    void Hear(SOCKET connection, const std::string& answer) {
        bool answered = answer.empty();
        char buffer[4096];
        std::string head;
        while (Readable(connection)) {
            const int count = recv(connection, buffer, sizeof buffer, 0);
            if (count <= 0) return;
            head.append(buffer, static_cast<std::size_t>(count));
            {
                const std::lock_guard<std::mutex> lock(m_lock);
                m_said.append(buffer, static_cast<std::size_t>(count));
            }
            if (answered || head.find("\r\n\r\n") == std::string::npos) {
                while (!m_reads && !m_end.Wait(10)) {
                }
                continue;
            }
            answered = true;
            if (answer == "close") return;
            send(connection, answer.data(), static_cast<int>(answer.size()), 0);
            shutdown(connection, SD_SEND);
        }
    }

    const std::vector<std::string> m_answers;
    const bool m_reads;
    SOCKET m_listener = INVALID_SOCKET;
    long m_port = 0;
    util::Event m_end{util::Event::Kind::kManualReset};
    mutable std::mutex m_lock;
    std::string m_said;  // guarded by m_lock
    int m_ended = 0;     // guarded by m_lock
    std::thread m_thread;
};

class Talk : public ControlTest {
  protected:
    Talk() {
        FakeMicrophone::missing = FakeMicrophone::pulled = false;
        m_before = std::exchange(TalkBack::makeInput, [] {
            return std::unique_ptr<VoiceInput>(std::make_unique<FakeMicrophone>());
        });
    }
    ~Talk() override {
        TalkBack::makeInput = m_before;
        net::KnownServers::get().forget();
    }

    void CreateFor(const Loudspeaker& camera) {
        Create();
        Put(L"ServerIP", L"127.0.0.1");
        Put(L"HttpPort", camera.Port());
        Put(L"username", L"admin");
        Put(L"password", L"norix");
    }
    static bool Await(const std::function<bool()>& reached) {
        const ULONGLONG end = GetTickCount64() + kPatience;
        while (!reached()) {
            if (GetTickCount64() > end) return false;
            PumpMessages();
            Sleep(1);
        }
        return true;
    }
    bool AwaitSilence() {
        return Await([] { return FakeMicrophone::alive == 0; });
    }
    std::int32_t Talkers() { return Control().Session().param.talkers; }

  private:
    std::unique_ptr<VoiceInput> (*m_before)() = nullptr;
};

constexpr char kBusy[] = "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\n\r\n";
constexpr char kDigest[] =
    "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"c\"\r\n"
    "WWW-Authenticate: Digest realm=\"c\", nonce=\"n\", qop=\"auth\"\r\n\r\n";

TEST_F(Talk, GoesToTheCameraAndEndsWithTheConnection) {
    Loudspeaker camera({""});
    CreateFor(camera);
    // Nobody sees this control: what the camera says is the result.
    ASSERT_TRUE(Control().AudioPost(true));
    EXPECT_EQ(Talkers(), 1);
    EXPECT_EQ(Control().Session().param.talkAttenuation.Get(), 12);
    const std::string head =
        "POST /kest-cgi/audiopost.cgi HTTP/1.1\r\nHOST: 127.0.0.1\r\nConnection:Keep-Alive\r\n"
        "Content-type: audio/pcmu\r\nAuthorization: Basic YWRtaW46bm9yaXg=\r\n\r\n";
    ASSERT_TRUE(Await([&] { return camera.Said().size() >= head.size() + 4096; }));
    EXPECT_EQ(camera.Said().substr(0, head.size()), head);
    Control().Disconnect();
    EXPECT_TRUE(AwaitSilence());
    EXPECT_TRUE(Await([&] { return camera.Ended() == 1; }));
    EXPECT_EQ(Talkers(), 0);
    EXPECT_EQ((camera.Said().size() - head.size()) % 512, 0u) << "whole blocks";

    // At once again, elsewhere and in another form.
    EXPECT_TRUE(Control().AudioPostEx(
        true, L"http://127.0.0.1:" + std::to_wstring(camera.Port()) + L"/other?a=1", 3, 16000));
    EXPECT_TRUE(Await([&] { return camera.Said().find("POST /other?a=1 HTTP/1.1") != std::string::npos; }));
    EXPECT_NE(camera.Said().find("Content-type: audio/pcm;rate=16000\r\n"), std::string::npos);
    EXPECT_TRUE(Control().AudioPostEx(false, L"", 0, 0));
    EXPECT_TRUE(AwaitSilence());
}

TEST_F(Talk, AnswersDecide) {
    EnableLog();
    Loudspeaker camera({kDigest, "", kBusy, kDigest, kDigest, "close", "no HTTP at all"});
    CreateFor(camera);
    EXPECT_TRUE(Control().AudioPost(true)) << "the challenge is answered";
    EXPECT_NE(camera.Said().find("\r\nAuthorization: Digest username=\"admin\""), std::string::npos);
    EXPECT_TRUE(Control().AudioPost(false));
    EXPECT_TRUE(Await([&] { return camera.Ended() == 2; }));
    for (const char* what : {"busy", "refused", "closed", "no HTTP"}) {
        EXPECT_FALSE(Control().AudioPost(true)) << what;
        EXPECT_TRUE(AwaitSilence());
        EXPECT_EQ(Talkers(), 0);
    }
    EXPECT_TRUE(Await([&] { return camera.Ended() == 7; })) << "nobody was asked once more";
}

TEST_F(Talk, NeedsAMicrophoneAndAPlace) {
    Loudspeaker camera({""});
    Create();
    EXPECT_FALSE(Control().AudioPost(true)) << "no camera";
    for (const wchar_t* url : {L"https://127.0.0.1/x", L"nonsense", L"http://127.0.0.1/a b"})
        EXPECT_FALSE(Control().AudioPostEx(true, url, 1, 8000)) << url;
    Put(L"ServerIP", L"127.0.0.1");
    Put(L"HttpPort", kClosedPort);
    EXPECT_FALSE(Control().AudioPost(true)) << "nobody there";
    Put(L"HttpPort", camera.Port());
    EXPECT_FALSE(Control().AudioPostEx(true, L"", 7, 8000)) << "no such codec";
    FakeMicrophone::missing = true;
    EXPECT_FALSE(Control().AudioPost(true));
    FakeMicrophone::missing = false;
    ASSERT_TRUE(Control().AudioPost(true));
    FakeMicrophone::pulled = true;
    EXPECT_TRUE(AwaitSilence());
    EXPECT_TRUE(Await([&] { return Talkers() == 0; }));
}

// Whatever state it is in, it can be ended: by the control's own end at the latest.
TEST_F(Talk, ACameraThatNeverReadsHoldsNobodyUp) {
    Loudspeaker camera({""}, false);
    CreateFor(camera);
    ASSERT_TRUE(Control().AudioPost(true));
    EXPECT_TRUE(Control().AudioPost(false));
    // The listener is still busy with the first connection: nobody says no.
    EXPECT_TRUE(Control().AudioPost(true));
}

TEST_F(Talk, ByThePanelsButtons) {
    Loudspeaker camera({""});
    CreateFor(camera);
    Put(L"EnableAudioControl", -1L);
    const HWND panel = GetWindow(Window(), GW_CHILD);
    const auto widget = [&](const wchar_t* name) { return FindWindowExW(panel, nullptr, nullptr, name); };
    const auto mouse = [](HWND at, UINT message) { SendMessageW(at, message, MK_LBUTTON, MAKELPARAM(5, 5)); };
    const auto on = [&] { return FakeMicrophone::alive == 1; };

    // Held: on as long as that lasts.
    mouse(widget(L"Talk while held"), WM_LBUTTONDOWN);
    EXPECT_TRUE(Await(on));
    mouse(widget(L"Talk while held"), WM_LBUTTONUP);
    EXPECT_TRUE(AwaitSilence());
    // Somebody else takes the mouse.
    mouse(widget(L"Talk while held"), WM_LBUTTONDOWN);
    EXPECT_TRUE(Await(on));
    SetCapture(Window());
    ReleaseCapture();
    EXPECT_TRUE(AwaitSilence());
    // Kept, until it is pressed again: either button.
    for (const wchar_t* end : {L"Keep talking", L"Talk while held"}) {
        SendMessageW(widget(L"Keep talking"), WM_KEYDOWN, VK_RETURN, 0);
        EXPECT_TRUE(Await(on));
        mouse(widget(end), WM_LBUTTONDOWN);
        mouse(widget(end), WM_LBUTTONUP);
        EXPECT_TRUE(AwaitSilence()) << end;
    }
    // The key is let go before its wish has been taken.
    SendMessageW(widget(L"Talk while held"), WM_KEYDOWN, VK_SPACE, 0);
    SendMessageW(widget(L"Talk while held"), WM_KEYUP, VK_SPACE, 0);
    PumpMessages();
    EXPECT_EQ(FakeMicrophone::alive, 0);
}

}  // namespace
}  // namespace norix::test
