#pragma once

#include <windows.h>

#include <ostream>

// How much of the system's resources this process holds, to be compared before and after many rounds.
struct ResourceUse {
    long handleSlots = 0;  // highest slot that a new kernel handle gets: grows when handles are left behind
    long gdiSlots = 0;     // the same for GDI objects
    long userSlots = 0;    // and for menus, icons and the like
    long threads = 0;      // that began in the program or in the control, not the system's own
    long windows = 0;      // of this process, top-level and children
    long heapBlocks = 0;   // allocated blocks of all heaps
    long heapBytes = 0;

    // Handles the messages that are waiting first, so that what is on its way out has gone.
    static ResourceUse Now();
};

std::ostream& operator<<(std::ostream& out, const ResourceUse& use);
