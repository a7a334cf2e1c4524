#include "util/TimeDiff.h"

#include "util/Log.h"

namespace util {

CTimeDiff::CTimeDiff(const char* label) noexcept : m_label(label), m_start(Clock::now()) {}

CTimeDiff::~CTimeDiff() {
    if (!Switches().timeDiff) return;
    const std::chrono::duration<double, std::milli> passed = Clock::now() - m_start;
    NORIX_LOG("CTimeDiff::~CTimeDiff", 0, "[TimeDiff] %s = %.2f (ms)", m_label, passed.count());
}

}  // namespace util
