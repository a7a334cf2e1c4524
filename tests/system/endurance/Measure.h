#pragma once

#include <windows.h>

#include <psapi.h>

#include <cstdlib>

// How often, or how many seconds: as the environment says, otherwise what is short enough for each day.
inline int FromEnvironment(const char* name, int usual) {
    const char* const text = std::getenv(name);
    return text ? std::atoi(text) : usual;
}
inline int Rounds(int usual) {
    return FromEnvironment("NORIX_ROUNDS", usual);
}

// This process's memory, in bytes. The counters that the system keeps answer 0 under Wine, apart from the
// working set.
struct Memory {
    std::size_t committed = 0;  // of its own
    std::size_t resident = 0;
};
inline Memory MemoryNow() {
    Memory memory;
    MEMORY_BASIC_INFORMATION region{};
    for (const char* at = nullptr; VirtualQuery(at, &region, sizeof region) == sizeof region;
         at = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) memory.committed += region.RegionSize;
    }
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    memory.resident = counters.WorkingSetSize;
    return memory;
}
