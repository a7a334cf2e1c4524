#include "util/Log.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/LogCapture.h"

namespace util {
namespace {

TEST(Log, DoesNotEvaluateArgumentsWhileOff) {
    int evaluated = 0;
    NORIX_LOG("F", 0, "%d", ++evaluated);
    NORIX_LOGW(L"F", 0, L"%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);

    const LogCapture capture;
    NORIX_LOG("F", 0, "%d", ++evaluated);
    NORIX_LOGW(L"F", 0, L"%d", ++evaluated);
    EXPECT_EQ(capture.Lines(), (std::vector<std::string>{"1", "2"}));
}

TEST(Log, LeavesTheSystemErrorAsItWas) {
    const LogCapture capture;
    errno = ENOENT;
    NORIX_LOG("F", 0, "%ls", L"\xD800");  // not to be converted, which sets errno
    EXPECT_EQ(errno, ENOENT);
}

TEST(Log, TakesLinesAndSwitchChangesFromManyThreads) {
    constexpr int kThreads = 4;
    constexpr int kLines = 200;
    const LogCapture capture;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kLines; ++i) {
                NORIX_LOG("F", 0, "%d %d", t, i);
                Switches().fps.Set(i);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    std::vector<int> next(kThreads, 0);
    for (const std::string& line : capture.Lines()) {
        const int t = line.at(0) - '0';
        EXPECT_EQ(line, std::to_string(t) + " " + std::to_string(next.at(t)++));
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

}  // namespace
}  // namespace util
