#pragma once

// Logs how long a scope took:
//
//     const util::CTimeDiff timing("CNorixSDKCtrl::Connect()");
//
// gives "[TimeDiff] CNorixSDKCtrl::Connect() = 12.34 (ms)" when the scope ends and the scope-timing switch is
// on. A local object of one thread. Nothing throws.

#include <chrono>

namespace util {

class CTimeDiff {
  public:
    /// The label must outlive the object: a literal.
    explicit CTimeDiff(const char* label) noexcept;
    ~CTimeDiff();
    CTimeDiff(const CTimeDiff&) = delete;
    CTimeDiff& operator=(const CTimeDiff&) = delete;

  private:
    using Clock = std::chrono::steady_clock;

    const char* m_label;
    Clock::time_point m_start;
};

}  // namespace util
