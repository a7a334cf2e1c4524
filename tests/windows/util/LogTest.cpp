// The log as users meet it: the bytes of its file, the debugger output, the registry's switches.

#include "util/Log.h"

#include <gmock/gmock.h>

#include <array>
#include <thread>

#include "PrivateHives.h"
#include "tests/support/DebuggerCapture.h"
#include "util/Handles.h"
#include "util/LogSetup.h"
#include "util/Settings.h"
#include "util/TimeDiff.h"

namespace util {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

struct Record {
    bool wide;
    std::wstring text;
    bool operator==(const Record&) const = default;
};

void PrintTo(const Record& record, std::ostream* out) {
    *out << (record.wide ? "wide " : "narrow ") << testing::PrintToString(record.text);
}

Record Narrow(const std::wstring& text) {
    return {false, text};
}
Record Wide(const std::wstring& text) {
    return {true, text};
}

// Reads the log file's format from its description, not from the code that writes it.
class Decoder {
  public:
    explicit Decoder(std::string bytes) : m_bytes(std::move(bytes)) {}

    std::vector<Record> Records() {
        std::vector<Record> records;
        while (m_at < m_bytes.size()) {
            Record record{false, {}};
            size_t length = Take(1);
            if (length == 0xFF) length = Take(2);
            if (length == 0xFFFE) {
                record.wide = true;
                length = Take(1);
                if (length == 0xFF) length = Take(2);
            }
            for (size_t i = 0; i < length; ++i)
                record.text += static_cast<wchar_t>(Take(record.wide ? 2 : 1));
            records.push_back(record);
        }
        return records;
    }

  private:
    size_t Take(int byteCount) {
        size_t value = 0;
        for (int i = 0; i < byteCount; ++i)
            value |= size_t{static_cast<uint8_t>(m_bytes.at(m_at++))} << (8 * i);
        return value;
    }

    std::string m_bytes;
    size_t m_at = 0;
};

class LogTest : public testing::Test {
  protected:
    LogTest() {
        wchar_t folder[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        m_path = folder + (L"norix-\u65E5\u672C-" + std::to_wstring(GetCurrentProcessId()) + L".log");
        DeleteFileW(m_path.c_str());
        Switches().threadId.Set(0);
    }
    ~LogTest() override {
        CloseLogFile();
        for (LogSwitch* off : DetailSwitches())
            off->Set(0);
        Switches().threadId.Set(1);
        Switches().timeDiff.Set(1);
        DeleteFileW(m_path.c_str());
    }

    static std::array<LogSwitch*, 4> DetailSwitches() {
        return {&Switches().fps, &Switches().ptsDiff, &Switches().frameTimeInfo, &Switches().timeSync};
    }

    // Works while the log has the file open, as it must for those who watch it.
    static std::vector<Record> Records(const std::wstring& path) {
        const UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                          nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_TRUE(file);
        std::string bytes(GetFileSize(file.Get(), nullptr), '\0');
        DWORD read = 0;
        EXPECT_TRUE(ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr));
        return Decoder(bytes).Records();
    }

    std::wstring m_path;
};

TEST_F(LogTest, FileHoldsOneRecordPerLine) {
    Switches().file.Set(1);
    OpenLogFile(m_path.c_str());
    const std::wstring medium(300, L'm');
    const std::string longest(5000, 'x');
    NORIX_LOG("F", 0, "one %d", 1);
    NORIX_LOGW(L"F", 0, L"two %ls", L"\u20AC");
    NORIX_LOG("F", 0, "%ls", medium.c_str());
    NORIX_LOGW(L"F", 0, L"%ls", medium.c_str());
    NORIX_LOG("F", 0, "%s", longest.c_str());
    NORIX_LOGW(L"F", 0, L"%hs", longest.c_str());
    const int line = __LINE__ + 1;
    NORIX_LOG("C::M", 1, "%s", "100%s\r\n");

    const std::wstring tag = L"[NorixSDK]";
    const std::wstring cut = tag + std::wstring(2047, L'x') + L"\r\n";
    EXPECT_THAT(
        Records(m_path),
        ElementsAre(Narrow(tag + L"one 1\r\n"), Wide(tag + L"two \u20AC\r\n"), Narrow(tag + medium + L"\r\n"),
                    Wide(tag + medium + L"\r\n"), Narrow(cut), Wide(cut),
                    Narrow(tag + L"100%s\r\n [LogTest.cpp(" + std::to_wstring(line) + L") C::M()]\r\n")));
}

TEST_F(LogTest, LosesLinesItCannotWriteAndNothingElse) {
    Switches().file.Set(1);
    for (const std::wstring& path : {std::wstring(), std::wstring(L"Q:\\no\\such\\folder.log"),
                                     std::wstring(5000, L'x'), std::wstring(L"Z:\\dev\\full")}) {
        OpenLogFile(path.c_str());
        SetLastError(1234);
        for (int i = 0; i < 3; ++i)
            NORIX_LOG("F", 0, "lost");
        EXPECT_EQ(GetLastError(), 1234u);
    }
    OpenLogFile(m_path.c_str());
    NORIX_LOG("F", 0, "kept");
    EXPECT_THAT(Records(m_path), ElementsAre(Narrow(L"[NorixSDK]kept\r\n")));
}

TEST_F(LogTest, DebuggerOutputShowsLinesWithEitherSwitch) {
    const norix::test::DebuggerCapture log;
    NORIX_LOG("F", 0, "off");
    Switches().output.Set(1);
    NORIX_LOG("F", 0, "narrow");
    NORIX_LOGW(L"F", 0, L"wide");
    Switches().output.Set(0);
    Switches().file.Set(1);
    OpenLogFile(m_path.c_str());
    Switches().threadId.Set(1);
    NORIX_LOG("F", 0, "file only");

    char withThread[64];
    snprintf(withThread, sizeof withThread, "[NorixSDK][T%05d] file only\r\n",
             static_cast<int>(GetCurrentThreadId()));
    EXPECT_THAT(log.Lines(), ElementsAre("[NorixSDK]narrow\r\n", "[NorixSDK]wide\r\n", withThread));
}

}  // namespace
}  // namespace util
