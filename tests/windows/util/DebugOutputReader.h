#pragma once

// Sees what this process writes to the debugger output, as a debug viewer would.

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "util/Handles.h"
#include "util/Locks.h"

namespace util::test {

class DebugOutputReader {
  public:
    // `onLine`, if given, is called on the reader's thread with each line.
    explicit DebugOutputReader(std::function<void(const std::string&)> onLine = nullptr);
    ~DebugOutputReader();

    // All lines so far, after what was written before this call has come in.
    std::vector<std::string> Lines();

  private:
    static DWORD WINAPI Main(void* self);
    void Read();

    std::function<void(const std::string&)> m_onLine;
    UniqueHandle m_bufferReady;
    UniqueHandle m_dataReady;
    UniqueHandle m_mapping;
    Event m_stop{Event::Kind::kManualReset};
    UniqueHandle m_thread;
    SlimLock m_lock;
    std::vector<std::string> m_lines;  // under m_lock
};

}  // namespace util::test
