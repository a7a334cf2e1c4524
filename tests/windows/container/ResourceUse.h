#pragma once

#include <windows.h>

#include <ostream>

// How much of the system's resources this process holds, to be compared before and after many rounds.
struct ResourceUse {
    long handles;  // kernel handles
    long threads;
    long windows;     // of this process, top-level and children
    long gdiSlots;    // highest slot that a new GDI object gets: grows when objects are left behind
    long userSlots;   // the same for menus and icons
    long heapBlocks;  // allocated blocks of all heaps
    long heapBytes;

    // Leaves out nothing that has settled: message queue emptied, deferred frees done.
    static ResourceUse Now();
};

std::ostream& operator<<(std::ostream& out, const ResourceUse& use);
