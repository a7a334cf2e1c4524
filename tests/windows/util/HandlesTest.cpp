#include "util/Handles.h"

#include <gtest/gtest.h>

#include <vector>

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

}  // namespace
}  // namespace util
