#pragma once

#include <windows.h>

#include <ostream>

// How much of the system's resources this process holds, to be compared before and after many rounds.
struct ResourceUse {
    long handleSlots;  // highest slot that a new kernel handle gets: grows when handles are left behind
    long gdiSlots;     // the same for GDI objects
    long userSlots;    // and for menus, icons and the like
    long threads;
    long windows;     // of this process, top-level and children
    long heapBlocks;  // allocated blocks of all heaps
    long heapBytes;

    // Handles the messages that are waiting first, so that what is on its way out has gone.
    static ResourceUse Now();
};

std::ostream& operator<<(std::ostream& out, const ResourceUse& use);
