// What a slow camera is told of what a hand did meanwhile.

#include "samples/host/PtzQueue.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// A word for each order: a move, "stop", "save", "list"; "go".
std::wstring Taken(std::wstring added) {
    PtzQueue queue;
    for (std::size_t end; !added.empty(); added.erase(0, end + 1)) {
        end = std::min(added.find(L' '), added.size() - 1);
        const std::wstring word = added.substr(0, added[end] == L' ' ? end : end + 1);
        using Kind = PtzOrder::Kind;
        const Kind kind = word == L"stop"   ? Kind::Stop
                          : word == L"save" ? Kind::Save
                          : word == L"list" ? Kind::List
                          : word == L"go"   ? Kind::Go
                                            : Kind::Move;
        queue.Add({kind, word});
    }
    std::wstring taken;
    while (const auto order = queue.Take())
        taken += (taken.empty() ? L"" : L" ") + order->text;
    return taken;
}

TEST(PtzQueue, OnlyTheNewestMoveWaitsAndNoStopIsLost) {
    struct Case {
        const wchar_t* added;
        const wchar_t* taken;
    };
    for (const Case& c :
         {Case{L"up left down right", L"right"}, Case{L"up stop left stop right", L"stop right"},
          Case{L"up stop left stop right stop", L"stop"}, Case{L"stop stop", L"stop"}, Case{L"up go", L"go"},
          Case{L"go stop", L"stop"}, Case{L"go up", L"up"}, Case{L"up save left list", L"up save left list"},
          Case{L"save list save list", L"save list save list"}, Case{L"list list", L"list"},
          Case{L"stop up save stop", L"stop up save stop"}}) {
        EXPECT_EQ(Taken(c.added), c.taken);
    }
}

}  // namespace
