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

}  // namespace
}  // namespace util
