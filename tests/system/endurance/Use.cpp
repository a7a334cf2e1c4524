#include "tests/system/endurance/Use.h"

#include <gtest/gtest.h>

#include <iostream>

#include "tests/system/endurance/LiveView.h"
#include "tests/system/endurance/Measure.h"

Use Settled() {
    constexpr DWORD kSettleMs = 1500;
    PumpFor(kSettleMs);
    Use use;
    use.resources = ResourceUse::Now();
    use.privateKilobytes = static_cast<long>(MemoryNow().committed / 1024);
    return use;
}

void Print(const char* when, const Use& use) {
    std::cout << when << use.resources << ", private " << use.privateKilobytes << " KB" << std::endl;
}

void ExpectNoGrowth(const Use& before, const Use& after, int rounds) {
    // Wine's WinInet keeps about 100 bytes of each connection that the server has ended, and there are a
    // dozen of these in a round.
    constexpr long kSystemsBytes = 1500;
    constexpr long kToleratedBytes = 64 * 1024;
    constexpr long kKilobyte = 1024;
    constexpr long kToleratedKilobytes = 8192;  // what heaps keep of their largest extent
    const long tolerated = 4 + rounds / 8;
    const ResourceUse& was = before.resources;
    const ResourceUse& is = after.resources;
    EXPECT_LE(is.handleSlots, was.handleSlots + tolerated);
    EXPECT_LE(is.gdiSlots, was.gdiSlots + tolerated);
    EXPECT_LE(is.userSlots, was.userSlots + tolerated);
    EXPECT_LE(is.threads, was.threads + 2);  // the system's pools breathe
    EXPECT_LE(is.windows, was.windows);
    EXPECT_LE(is.heapBytes, was.heapBytes + kToleratedBytes + rounds * kSystemsBytes);
    EXPECT_LE(after.privateKilobytes,
              before.privateKilobytes + kToleratedKilobytes + rounds * kSystemsBytes / kKilobyte);
}
