// Plays every dialogue: what the client writes down has to contain the expected lines in their order, and
// what the client sent has to be what the script waited for.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "Dialogue.h"

namespace live_test {
namespace {

namespace fs = std::filesystem;

std::string g_folder;

std::string joinLines(const std::vector<std::string>& lines) {
    std::string all;
    for (const std::string& line : lines)
        all += "  " + line.substr(0, 200) + "\n";
    return all;
}

class DialogueTest : public testing::Test {
  public:
    explicit DialogueTest(fs::path file) : m_file(std::move(file)) {}
    void TestBody() override {
        const Script script = readScript(m_file);
#ifdef _WIN32
        // Wine sends from 127.0.0.1, whatever the socket is bound to.
        const auto foreign = [](const std::string& step) { return step.starts_with("foreign"); };
        if (std::any_of(script.steps.begin(), script.steps.end(), foreign)) GTEST_SKIP();
#endif
        ASSERT_FALSE(script.expected.empty()) << m_file;
        ScriptedServer server(script);
        const auto notes = playClient(script, server.filled(script.url), server.port());
        server.finish();
        auto note = notes.begin();
        for (const std::string& wanted : script.expected) {
            note = std::find_if(note, notes.end(),
                                [&](const std::string& line) { return line.starts_with(wanted); });
            ASSERT_NE(note, notes.end()) << "missing: " << wanted << "\nseen:\n"
                                         << joinLines(notes) << server.complaint();
            ++note;
        }
        for (const std::string& line : notes) {
            for (const std::string& unwanted : script.never)
                EXPECT_FALSE(line.starts_with(unwanted)) << line;
        }
        EXPECT_EQ(server.complaint(), "") << joinLines(notes);
    }

  private:
    const fs::path m_file;
};

}  // namespace
}  // namespace live_test

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const std::string option = "--dialogues=";
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]).starts_with(option)) live_test::g_folder = argv[i] + option.size();
    }
    for (const auto& entry : std::filesystem::directory_iterator(live_test::g_folder)) {
        const std::filesystem::path file = entry.path();
        testing::RegisterTest("Dialogue", file.stem().string().c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [file] { return new live_test::DialogueTest(file); });
    }
    return RUN_ALL_TESTS();
}
