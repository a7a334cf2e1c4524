// Whole sessions against a scripted server (../live/Dialogue.h): what is reported and when, for each fault.
// What the session does becomes lines:
//
//   STATUS 1       reported to the callback
//   FRAME text     a video frame as inserted, its start code and first byte left out
//   PLAYERS        the players have been started
//   ENDED          the session has ended by itself; else it is stopped when all that is expected has come

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <mutex>
#include <thread>

#include "include/RTSP/RTSPSession.h"
#include "media/CtrlParam.h"
#include "media/MediaPlayers.h"
#include "tests/native/live/Dialogue.h"
#include "tests/support/LogCapture.h"

namespace norix {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using live_test::Script;

std::string g_folder;

class Notes {
  public:
    void Add(std::string line) {
        const std::lock_guard lock(m_lock);
        m_lines.push_back(std::move(line));
    }
    std::vector<std::string> Lines() const {
        const std::lock_guard lock(m_lock);
        return m_lines;
    }

  private:
    mutable std::mutex m_lock;
    std::vector<std::string> m_lines;  // under m_lock
};

struct Players : MediaPlayers {
    explicit Players(Notes& notes) : notes(notes) {}
    void Start() override { notes.Add("PLAYERS"); }
    Notes& notes;
};

bool StartsAnyWith(const std::vector<std::string>& lines, const std::string& start) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return line.starts_with(start); });
}

// Whether the expected lines are there, in their order; `missing` is the first that isn't. Frames have an
// order of their own, since they are noted by another thread.
bool Matches(const std::vector<std::string>& lines, const std::vector<std::string>& expected,
             std::string& missing) {
    auto frame = lines.begin();
    auto other = lines.begin();
    for (const std::string& wanted : expected) {
        auto& at = wanted.starts_with("FRAME") ? frame : other;
        at = std::find_if(at, lines.end(), [&](const std::string& l) { return l.starts_with(wanted); });
        if (at == lines.end()) {
            missing = wanted;
            return false;
        }
        ++at;
    }
    return true;
}

SessionSettings SettingsOf(const Script& script, const live_test::ScriptedServer& server, Notes& notes) {
    SessionSettings settings;
    settings.protocol = script.transport == "udp" ? ecpUDP : script.transport == "http" ? ecpHTTP : ecpTCP;
    settings.streamUri = server.filled(script.url);
    settings.tunnelOverHttpPort = server.port();
    settings.callback = [](int code, unsigned value, void* notes) {
        static_cast<Notes*>(notes)->Add((code == kCallbackStatus ? "STATUS " : "CODE ") +
                                        std::to_string(value));
        return 0;
    };
    settings.userData = &notes;
    settings.periods.connectCheck = settings.periods.disconnectCheck = script.watchMilliseconds * 1000LL;
    settings.periods.keepAlive = script.keepAliveMilliseconds * 1000LL;
    settings.periods.durationMargin = 100'000;
    settings.periods.nextTry = 50'000;
    return settings;
}

class SessionTest : public testing::Test {
  public:
    explicit SessionTest(fs::path file) : m_file(std::move(file)) {}

    void TestBody() override {
        const util::LogCapture log;
        const Script script = live_test::readScript(m_file);
        ASSERT_FALSE(script.expected.empty()) << m_file;
        live_test::ScriptedServer server(script);
        Notes notes;
        MediaSettings small;
        small.videoBufferSize = 4096;
        small.audioBufferSize = 4096;
        const auto param = std::make_shared<CCtrlParam>(small);
        param->mediaType.Set(script.media == "video"   ? MediaType::Video
                             : script.media == "audio" ? MediaType::Audio
                                                       : MediaType::AudioVideo);
        RTSPSession session(SettingsOf(script, server, notes), param, std::make_shared<Players>(notes));
        std::thread thread([&] {
            session.RTSPStart();
            notes.Add("ENDED");
        });
        std::string missing;
        const auto deadline = Clock::now() + std::chrono::milliseconds(script.withinMilliseconds);
        while (!Matches(notes.Lines(), script.expected, missing) && Clock::now() < deadline)
            TakeFrame(*param, notes);
        const std::vector<std::string> lines = notes.Lines();
        const auto stopping = Clock::now();
        session.RequestStop();
        thread.join();
        const auto took = Clock::now() - stopping;
        server.finish();

        const std::string seen = testing::PrintToString(lines) + "\n" + testing::PrintToString(log.Lines());
        EXPECT_TRUE(Matches(lines, script.expected, missing)) << "missing: " << missing << "\n" << seen;
        for (const std::string& unwanted : script.never)
            EXPECT_FALSE(StartsAnyWith(lines, unwanted)) << unwanted << "\n" << seen;
        for (const std::string& text : script.logged)
            EXPECT_TRUE(log.Contains(text)) << text << "\n" << seen;
        EXPECT_LT(took, std::chrono::seconds(4)) << "waited for somebody";
        EXPECT_EQ(server.complaint(), "") << seen;
        const auto after = notes.Lines();
        EXPECT_EQ(std::count_if(after.begin(), after.end(), IsStatus),
                  std::count_if(lines.begin(), lines.end(), IsStatus))
            << "reported after the stop";
    }

  private:
    static bool IsStatus(const std::string& line) { return line.starts_with("STATUS"); }

    static void TakeFrame(CCtrlParam& param, Notes& notes) {
        VideoFrameRecord* record = nullptr;
        if (param.GetFilledVideoFrame(&record) != kResultOk) return;
        constexpr std::uint32_t kBeforeText = 5;
        const auto* const text = reinterpret_cast<const char*>(record->data.get());
        if (record->payloadLength >= kBeforeText)
            notes.Add("FRAME " + std::string(text + kBeforeText, text + record->payloadLength));
        param.PutEmptyVideoFrame(record);
    }

    const fs::path m_file;
};

}  // namespace
}  // namespace norix

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const std::string option = "--dialogues=";
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]).starts_with(option)) norix::g_folder = argv[i] + option.size();
    }
    for (const auto& entry : std::filesystem::directory_iterator(norix::g_folder)) {
        const std::filesystem::path file = entry.path();
        testing::RegisterTest("Session", file.stem().string().c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [file] { return new norix::SessionTest(file); });
    }
    return RUN_ALL_TESTS();
}
