#include "media/TimeSync.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace norix {
namespace {

using Action = CTimeSync::Action;

struct Shown {
    std::uint32_t pts;
    std::uint32_t at;
    bool late;
    bool rebased;  // after having been held
    bool operator==(const Shown&) const = default;
};

// Plays pictures as the display loop does, on a clock of its own.
class Player {
  public:
    explicit Player(const CTimeSync::Rules& rules, std::uint32_t now = 5000)
        : m_now(now), m_sync(rules, now) {}

    void WaitUntil(std::uint32_t now) { m_now = now; }
    void Wait(std::uint32_t ms) { m_now += ms; }
    std::uint32_t Now() const { return m_now; }

    Shown Show(std::uint32_t pts) {
        bool rebased = false;
        for (int tries = 0; tries < 1000; ++tries) {
            const CTimeSync::Verdict verdict = m_sync.Decide(pts, m_now);
            if (verdict.action == Action::Show) return {pts, m_now, verdict.late, rebased};
            if (verdict.action == Action::Rebase) rebased = true;
            if (verdict.action == Action::Hold) ++m_now;
        }
        ADD_FAILURE() << "never shown";
        return {};
    }

    // Past the learning period, with one picture shown to end it; returns that picture's time stamp.
    std::uint32_t Learn(std::uint32_t pts = 100000) {
        Show(pts);
        Wait(10001);
        Show(pts + 10001);
        return pts + 10001;
    }

  private:
    std::uint32_t m_now;
    CTimeSync m_sync;
};

// A display that has learned its stream's clock.
class LearnedTimeSync : public testing::Test {
  protected:
    Player player{DisplayTimeRules(true)};
    const std::uint32_t start = player.Learn();
    const std::uint32_t base = player.Now();
};

TEST(DisplayTimeSync, ShowsEverythingAtOnceWhileLearning) {
    Player player(DisplayTimeRules(true));
    // A burst, jumps and stalls: nothing is held and nothing counts as late for ten seconds.
    for (std::uint32_t pts : {1000u, 1040u, 1080u, 500u, 90000u, 0u}) {
        const std::uint32_t now = player.Now();
        EXPECT_EQ(player.Show(pts), (Shown{pts, now, false, false}));
        player.Wait(1000);
    }
    player.WaitUntil(5000 + 10000);  // not yet more than ten seconds
    player.Show(2000);
    EXPECT_EQ(player.Show(2040).at, player.Now());
}

TEST(DisplayTimeSync, LastLearningPictureStillRebases) {
    Player player(DisplayTimeRules(true));
    player.Show(100);
    player.Wait(10001);
    player.Show(700);  // whatever its time stamp
    const std::uint32_t base = player.Now();
    EXPECT_EQ(player.Show(720), (Shown{720, base + 20, false, false}));
}

TEST_F(LearnedTimeSync, BurstAt25FpsIsShownEvery33MsWithRebase) {
    for (std::uint32_t i = 1; i <= 10; ++i) {
        EXPECT_EQ(player.Show(start + 40 * i), (Shown{start + 40 * i, base + 33 * i, false, true}));
    }
}

TEST(DisplayTimeSync, SteadyStreamsAreShownAtTheirTimeStamps) {
    // Frames that are queued in a burst at 30 frames a second and faster...
    for (std::uint32_t step : {33u, 20u, 16u}) {
        Player player(DisplayTimeRules(true));
        const std::uint32_t start = player.Learn();
        const std::uint32_t base = player.Now();
        for (std::uint32_t i = 1; i <= 100; ++i) {
            EXPECT_EQ(player.Show(start + step * i),
                      (Shown{start + step * i, base + step * i, false, false}));
        }
    }
    // ...and 25 a second that arrive in real time.
    Player player(DisplayTimeRules(true));
    const std::uint32_t start = player.Learn();
    const std::uint32_t base = player.Now();
    for (std::uint32_t i = 1; i <= 100; ++i) {
        player.WaitUntil(base + 40 * i);
        EXPECT_EQ(player.Show(start + 40 * i), (Shown{start + 40 * i, base + 40 * i, false, false}));
    }
}

TEST_F(LearnedTimeSync, LatePicturesAreShownAndTheNextOneRebases) {
    player.WaitUntil(base + 40 + 32);
    EXPECT_FALSE(player.Show(start + 40).late);
    player.WaitUntil(base + 80 + 33);
    EXPECT_TRUE(player.Show(start + 80).late);
    // The base moves with the picture after the late one: what follows it is neither late nor held.
    const std::uint32_t now = player.Now();
    EXPECT_EQ(player.Show(start + 120), (Shown{start + 120, now, false, false}));
    player.Wait(33);
    EXPECT_EQ(player.Show(start + 153), (Shown{start + 153, now + 33, false, false}));
}

TEST_F(LearnedTimeSync, JumpsBackRebase) {
    EXPECT_EQ(player.Show(start - 5000), (Shown{start - 5000, base, true, false}));
    EXPECT_EQ(player.Show(start - 4960), (Shown{start - 4960, base, false, false}));
}

TEST_F(LearnedTimeSync, JumpsAheadRebase) {
    EXPECT_EQ(player.Show(start + 3600000), (Shown{start + 3600000, base + 33, false, true}));
    EXPECT_EQ(player.Show(start + 3600020).at, base + 53);
}

TEST_F(LearnedTimeSync, TimeStampZeroIsNeverHeldAndRebases) {
    EXPECT_EQ(player.Show(0).at, base);
    // The next one is a new base however far ahead it is.
    EXPECT_EQ(player.Show(start + 500), (Shown{start + 500, base, false, false}));
    EXPECT_EQ(player.Show(start + 520).at, base + 20);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(player.Show(0).at, base + 20);
}

TEST(DisplayTimeSync, SwitchedOffItHoldsNothingButStillSeesLateness) {
    Player player(DisplayTimeRules(false));
    const std::uint32_t start = player.Learn();
    const std::uint32_t now = player.Now();
    EXPECT_EQ(player.Show(start + 1000), (Shown{start + 1000, now, false, false}));
    player.Wait(2000);
    EXPECT_TRUE(player.Show(start + 1040).late);
}

TEST(DisplayTimeSync, SurvivesTheWrapOfBothClocks) {
    constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
    // The system's clock wraps 20 ms after the learning period, the stream's 60 ms after it.
    Player player(DisplayTimeRules(true), kMax - 10001 - 20);
    const std::uint32_t start = player.Learn(kMax - 10001 - 60);
    const std::uint32_t base = player.Now();
    for (std::uint32_t i = 1; i <= 20; ++i) {
        const std::uint32_t pts = start + 30 * i;
        EXPECT_EQ(player.Show(pts), (Shown{pts, base + 30 * i, false, false})) << i;
    }
    // Weeks later the clock comes round to where it started: learning does not begin again.
    constexpr std::uint32_t kStep = 1000000;
    std::uint32_t pts = start + 600;
    while (base - player.Now() > 2 * kStep) {
        player.Wait(kStep);
        player.Show(pts += kStep);
    }
    player.WaitUntil(kMax - 10001 - 20 + 5000);
    player.Show(0);
    const std::uint32_t now = player.Now();
    player.Show(pts);
    EXPECT_EQ(player.Show(pts + 20).at, now + 20);
}

TEST(AudioTimeSync, HoldsUpTo125MsAndHasNoLearningPeriod) {
    Player player(AudioTimeRules(true));
    const std::uint32_t base = player.Now();
    EXPECT_EQ(player.Show(1000).at, base);
    EXPECT_EQ(player.Show(1128), (Shown{1128, base + 125, false, true}));  // a block of 128 ms, queued early
    EXPECT_EQ(player.Show(1248), (Shown{1248, base + 245, false, false}));
    player.Wait(124);
    EXPECT_FALSE(player.Show(1248).late);
    player.Wait(1);
    EXPECT_TRUE(player.Show(1248).late);

    Player untimed(AudioTimeRules(true));
    const std::uint32_t now = untimed.Now();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(untimed.Show(0).at, now);
    EXPECT_EQ(untimed.Show(9000).at, now);  // still the first base
}

}  // namespace
}  // namespace norix
