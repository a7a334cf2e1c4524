#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace norix::test {

/// What this process writes to the debugger output while one of these lives, seen before any debugger or
/// debug viewer: the system announces it as an exception, which is taken here. One at a time.
class DebuggerCapture {
  public:
    DebuggerCapture();
    ~DebuggerCapture();
    DebuggerCapture(const DebuggerCapture&) = delete;
    DebuggerCapture& operator=(const DebuggerCapture&) = delete;

    /// The lines so far, as written.
    std::vector<std::string> Lines() const;
    /// The messages alone: without tag, thread id, source location and line end.
    std::vector<std::string> Messages() const;
    /// Whether a message begins like this.
    bool Has(const std::string& beginning) const;
    void Clear();

  private:
    mutable std::mutex m_lock;
    std::vector<std::string> m_lines;
    void* m_handler = nullptr;
};

}  // namespace norix::test
