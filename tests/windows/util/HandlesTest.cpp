#include "util/Handles.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

#include "util/Locks.h"

namespace util {
namespace {

std::vector<int> g_closed;

struct FakeTraits {
    using Value = int;
    static int None() { return -1; }
    static void Close(int value) { g_closed.push_back(value); }
};
using Fake = UniqueResource<FakeTraits>;

TEST(UniqueResource, ClosesEachResourceOnce) {
    g_closed.clear();
    {
        Fake empty;
        EXPECT_FALSE(empty);
        Fake one(1);
        Fake moved(std::move(one));
        EXPECT_FALSE(one);
        EXPECT_EQ(moved.Get(), 1);
        moved = Fake(2);
        EXPECT_EQ(g_closed, std::vector<int>{1});
        moved.Reset(2);
        Fake& self = moved;
        moved = std::move(self);
        EXPECT_EQ(moved.Get(), 2);
        EXPECT_EQ(g_closed, std::vector<int>{1});
        *moved.Put() = 3;
        EXPECT_EQ(g_closed, (std::vector<int>{1, 2}));
        Fake zero(0);
        EXPECT_TRUE(zero);
        EXPECT_EQ(zero.Release(), 0);
    }
    EXPECT_EQ(g_closed, (std::vector<int>{1, 2, 3}));
}

TEST(Handles, OwnersCloseWhatTheyOwn) {
    HANDLE event = nullptr;
    {
        const Event owner(Event::Kind::kManualReset);
        event = owner.Get();
        EXPECT_TRUE(owner);
    }
    DWORD flags = 0;
    EXPECT_FALSE(GetHandleInformation(event, &flags));
    EXPECT_FALSE(UniqueFile(CreateFileW(L"Q:\\none", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));

    HBRUSH brush = CreateSolidBrush(RGB(1, 2, 3));
    UniqueBrush(brush).Reset();
    EXPECT_EQ(GetObjectType(brush), 0u);
}

TEST(Handles, SelectGuardPutsThePreviousObjectBack) {
    const WindowDc screen(nullptr);
    ASSERT_TRUE(screen);
    const UniqueMemoryDc dc(CreateCompatibleDC(screen.Get()));
    const UniqueBitmap bitmap(CreateCompatibleBitmap(screen.Get(), 4, 4));
    const HGDIOBJ before = GetCurrentObject(dc.Get(), OBJ_BITMAP);
    {
        const SelectGuard selected(dc.Get(), bitmap.Get());
        EXPECT_TRUE(selected);
        EXPECT_EQ(GetCurrentObject(dc.Get(), OBJ_BITMAP), bitmap.Get());
    }
    EXPECT_EQ(GetCurrentObject(dc.Get(), OBJ_BITMAP), before);
}

TEST(Handles, GlobalLockGuardUnlocks) {
    const UniqueGlobal memory(GlobalAlloc(GMEM_MOVEABLE, 16));
    {
        const GlobalLockGuard<char> locked(memory.Get());
        ASSERT_TRUE(locked);
        locked.Get()[15] = 'x';
        EXPECT_EQ(GlobalFlags(memory.Get()) & GMEM_LOCKCOUNT, 1u);
    }
    EXPECT_EQ(GlobalFlags(memory.Get()) & GMEM_LOCKCOUNT, 0u);
}

TEST(Handles, EventsWakeByKind) {
    Event once(Event::Kind::kAutoReset);
    Event lasting(Event::Kind::kManualReset);
    EXPECT_FALSE(once.Wait(0));
    once.Set();
    lasting.Set();
    EXPECT_TRUE(once.Wait(0));
    EXPECT_FALSE(once.Wait(0));
    EXPECT_TRUE(lasting.Wait(0));
    EXPECT_TRUE(lasting.Wait(0));
    lasting.Reset();
    EXPECT_FALSE(lasting.Wait(0));
}

template <class Lock>
int CountUnder(Lock& lock) {
    int count = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                const std::lock_guard guard(lock);
                ++count;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    return count;
}

TEST(Locks, LetOneThreadInAtATime) {
    SlimLock slim;
    EXPECT_EQ(CountUnder(slim), 80000);
    CriticalSection section;
    EXPECT_EQ(CountUnder(section), 80000);
    const std::lock_guard outer(section);
    EXPECT_TRUE(section.try_lock());
    section.unlock();
}

}  // namespace
}  // namespace util
