#include "render/decode/PauseGate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace norix {
namespace {

TEST(PauseGate, KeepsTheWorkerOutWhilePaused) {
    PauseGate gate;
    std::atomic<bool> stop{false};
    std::atomic<long> rounds{0};
    long guarded = 0;  // plain: the gate alone keeps the two threads apart
    std::thread worker([&] {
        PauseGate::Worker self(gate);
        while (!stop) {
            self.Pass();
            ++guarded;
            ++rounds;
        }
    });
    for (int i = 0; i < 300; ++i) {
        const PauseGate::Pause pause(gate);
        ASSERT_TRUE(pause);
        const long before = guarded;
        std::this_thread::yield();
        ASSERT_EQ(guarded, before);
    }
    const long before = rounds;
    while (rounds == before)
        std::this_thread::yield();  // it goes on afterwards
    stop = true;
    worker.join();
}

TEST(PauseGate, NeedsNoWorkerAndHoldsOneThatComesLater) {
    PauseGate gate;
    std::atomic<bool> entered{false};
    std::thread worker;
    {
        const PauseGate::Pause pause(gate);
        ASSERT_TRUE(pause);
        worker = std::thread([&] {
            PauseGate::Worker self(gate);
            entered = true;
        });
        for (int i = 0; i < 100; ++i)
            std::this_thread::yield();
        EXPECT_FALSE(entered);
    }
    worker.join();
    EXPECT_TRUE(entered);
    EXPECT_TRUE(PauseGate::Pause(gate));  // the worker has gone again
}

TEST(PauseGate, CloseFreesOneThatWaitsForABusyWorker) {
    PauseGate gate;
    std::atomic<bool> registered{false};
    std::atomic<bool> finish{false};
    std::thread worker([&] {
        PauseGate::Worker self(gate);
        registered = true;
        while (!finish)
            std::this_thread::yield();  // never passes
    });
    while (!registered)
        std::this_thread::yield();
    std::thread closer([&] { gate.Close(); });
    EXPECT_FALSE(PauseGate::Pause(gate));
    closer.join();
    EXPECT_FALSE(PauseGate::Pause(gate));
    finish = true;
    worker.join();
}

}  // namespace
}  // namespace norix
