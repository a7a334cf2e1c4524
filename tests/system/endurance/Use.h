#pragma once

#include "tests/support/ResourceUse.h"

// What this process holds, to be compared before and after many connections.
struct Use {
    ResourceUse resources;
    long privateKilobytes = 0;
};

// Threads that go by themselves, the system's above all, get the time to.
Use Settled();

void Print(const char* when, const Use& use);

// Something left behind in every eighth round is found.
void ExpectNoGrowth(const Use& before, const Use& after, int rounds);
