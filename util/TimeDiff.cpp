#include "util/TimeDiff.h"

#include <windows.h>

#include "util/Log.h"

namespace util {
namespace {

int64_t Counter() noexcept {
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return count.QuadPart;
}

int64_t Frequency() noexcept {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

}  // namespace

CTimeDiff::CTimeDiff(const char* label) noexcept
    : m_label(label), m_frequency(Frequency()), m_start(Counter()) {}

CTimeDiff::~CTimeDiff() {
    if (!Switches().timeDiff) return;
    NORIX_LOG("CTimeDiff::~CTimeDiff", 0, "[TimeDiff] %s = %.2f (ms)", m_label,
              static_cast<double>(Counter() - m_start) * 1000.0 / static_cast<double>(m_frequency));
}

}  // namespace util
