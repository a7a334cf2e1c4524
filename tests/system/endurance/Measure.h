#pragma once

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

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

// Some values of one kind, in milliseconds.
class Times {
  public:
    void Add(double milliseconds) { values_.push_back(milliseconds); }
    double Max() const { return values_.empty() ? 0 : *std::ranges::max_element(values_); }
    double Median() const {
        if (values_.empty()) return 0;
        std::vector<double> sorted = values_;
        std::ranges::sort(sorted);
        return sorted[sorted.size() / 2];
    }
    void Print(const std::string& what) const {
        if (values_.empty()) return;
        std::cout << std::left << std::setw(44) << what << std::right << std::fixed << std::setprecision(1)
                  << std::setw(5) << values_.size() << " times: min " << *std::ranges::min_element(values_)
                  << ", median " << Median() << ", max " << Max() << " ms" << std::endl;
    }

  private:
    std::vector<double> values_;
};
