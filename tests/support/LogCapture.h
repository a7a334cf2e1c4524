#pragma once

// Native builds only: what the code under test logs while one of these lives, instead of on stderr. Switches
// the log's output on and the thread id off, and back when it ends. One at a time; any thread may log
// meanwhile.

#include <string>
#include <vector>

namespace util {

class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The lines so far, without the "[NorixSDK]" tag and the CR LF; wide characters beyond ASCII read '?'.
    std::vector<std::string> Lines() const;
    bool Contains(const std::string& part) const;
};

}  // namespace util
