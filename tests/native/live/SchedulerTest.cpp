// The event loop.

#include <gmock/gmock.h>

#include <thread>

#include "live/BasicUsageEnvironment.hh"
#include "live/GroupsockHelper.hh"
#include "live/env/Clock.h"

namespace live_test {
namespace {

struct Loop : testing::Test {
    std::unique_ptr<BasicTaskScheduler> scheduler{BasicTaskScheduler::createNew()};
    EventLoopWatchVariable stop{0};
    std::string trace;

    // Appends a letter; the one that is to be last ends the loop.
    struct Step {
        Loop& loop;
        char letter;
        bool last = false;
        TaskToken* unschedule = nullptr;
    };
    static void run(void* data) {
        auto& step = *static_cast<Step*>(data);
        step.loop.trace += step.letter;
        if (step.unschedule) step.loop.scheduler->unscheduleDelayedTask(*step.unschedule);
        if (step.last) step.loop.stop = 1;
    }
};

TEST_F(Loop, TasksRunInTheOrderOfTheirTimes) {
    Step a{*this, 'a'}, b{*this, 'b'}, c{*this, 'c'}, d{*this, 'd'}, e{*this, 'e', true};
    scheduler->scheduleDelayedTask(3000, run, &c);
    scheduler->scheduleDelayedTask(0, run, &a);
    scheduler->scheduleDelayedTask(-5, run, &b);
    TaskToken never = scheduler->scheduleDelayedTask(2000, run, &d);
    scheduler->unscheduleDelayedTask(never);
    EXPECT_EQ(never, nullptr);
    scheduler->unscheduleDelayedTask(never);
    TaskToken victim = scheduler->scheduleDelayedTask(6000, run, &d);
    a.unschedule = &victim;
    scheduler->scheduleDelayedTask(8000, run, &e);
    scheduler->scheduleDelayedTask(INT64_MAX, run, &d);
    const auto started = live::steadyMicroseconds();
    scheduler->doEventLoop(&stop);
    EXPECT_EQ(trace, "abce");
    EXPECT_GE(live::steadyMicroseconds() - started, 8000);
}

TEST_F(Loop, AnotherThreadTriggersAndStops) {
    Step triggered{*this, 't', true};
    const EventTriggerId id = scheduler->createEventTrigger(run);
    ASSERT_NE(id, 0u);
    std::thread other([&] { scheduler->triggerEvent(id, &triggered); });
    scheduler->doEventLoop(&stop);
    other.join();
    EXPECT_EQ(trace, "t");
    stop = 0;
    std::thread stopper([&] { stop = 1; });
    scheduler->doEventLoop(&stop);
    stopper.join();
    scheduler->deleteEventTrigger(id);
    for (int i = 0; i < 32; ++i)
        EXPECT_NE(scheduler->createEventTrigger(run), 0u);
    EXPECT_EQ(scheduler->createEventTrigger(run), 0u);
}

TEST_F(Loop, AHandlerMayTakeAnotherAway) {
    UsageEnvironment* const env = BasicUsageEnvironment::createNew(*scheduler);
    const auto loopback = htonl(INADDR_LOOPBACK);
    auto sender = Groupsock::open(*env, 0, 0);
    struct Receiver {
        Loop& loop;
        std::unique_ptr<Groupsock> socket;
        Receiver* other = nullptr;
        int calls = 0;
        static void ready(void* data, int mask) {
            auto& self = *static_cast<Receiver*>(data);
            EXPECT_EQ(mask, SOCKET_READABLE);
            ++self.calls;
            self.other->socket.reset();
            self.loop.stop = 1;
        }
    } a{*this, Groupsock::open(*env, 0, 0)}, b{*this, Groupsock::open(*env, 0, 0)};
    a.other = &b, b.other = &a;
    ASSERT_TRUE(sender && a.socket && b.socket);
    for (Receiver* receiver : {&a, &b}) {
        scheduler->setBackgroundHandling(receiver->socket->socketNum(), SOCKET_READABLE, Receiver::ready,
                                         receiver);
        sender->setDestination(loopback, receiver->socket->port());
        const unsigned char byte = 1;
        ASSERT_TRUE(sender->send({&byte, 1}));
    }
    scheduler->doEventLoop(&stop);
    EXPECT_EQ(a.calls + b.calls, 1) << "both were ready, one was taken away before its turn";
    a.socket.reset();
    b.socket.reset();
    sender.reset();
    env->reclaim();
}

}  // namespace
}  // namespace live_test
