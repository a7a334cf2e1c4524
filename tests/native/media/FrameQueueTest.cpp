#include "media/FrameQueue.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

namespace norix {
namespace {

TEST(FrameQueue, KeepsOrderAndBounds) {
    std::array<int, 4> records{};
    FrameQueue<int> queue(3);
    EXPECT_EQ(queue.Take(0), nullptr);
    EXPECT_FALSE(queue.PutTail(nullptr));
    // Round the ring more than once, with records put back first in line.
    for (int round = 0; round < 5; ++round) {
        EXPECT_TRUE(queue.PutTail(&records[0]));
        EXPECT_TRUE(queue.PutTail(&records[1]));
        EXPECT_TRUE(queue.PutHead(&records[2]));
        EXPECT_FALSE(queue.PutTail(&records[3]));
        EXPECT_FALSE(queue.PutHead(&records[3]));
        EXPECT_EQ(queue.Take(0), &records[2]);
        EXPECT_TRUE(queue.PutHead(&records[2]));
        EXPECT_EQ(queue.Take(0), &records[2]);
        EXPECT_EQ(queue.Take(0), &records[0]);
        EXPECT_EQ(queue.Take(0), &records[1]);
        EXPECT_EQ(queue.Take(0), nullptr);
    }
    queue.PutTail(&records[0]);
    queue.Clear();
    EXPECT_EQ(queue.Size(), 0u);
    EXPECT_EQ(queue.Take(0), nullptr);
}

// Records wander between two queues through several threads: none is lost, none is held by two at once.
TEST(FrameQueue, LosesNothingBetweenThreads) {
    struct Record {
        std::atomic<int> holders{0};
        long passes = 0;  // plain: only the holder may touch it
    };
    constexpr int kThreads = 4;
    constexpr long kPasses = 3000;
    std::array<Record, 5> records;
    FrameQueue<Record> there(records.size());
    FrameQueue<Record> back(records.size());
    for (Record& record : records)
        there.PutTail(&record);

    std::atomic<long> passes{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            FrameQueue<Record>& from = t % 2 ? there : back;
            FrameQueue<Record>& to = t % 2 ? back : there;
            while (passes.load() < kPasses) {
                Record* const record = from.Take();
                if (!record) continue;
                EXPECT_EQ(record->holders.fetch_add(1), 0);
                ++record->passes;
                record->holders.fetch_sub(1);
                EXPECT_TRUE(++passes % 3 ? to.PutTail(record) : to.PutHead(record));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(there.Size() + back.Size(), records.size());
}

}  // namespace
}  // namespace norix
