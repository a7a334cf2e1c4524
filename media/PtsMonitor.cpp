#include "media/PtsMonitor.h"

#include <atomic>

#include "media/MediaPlatform.h"
#include "util/Log.h"

namespace norix {
namespace {

std::atomic<std::uint32_t> g_lastPts{0};

}  // namespace

PtsVerdict JudgePtsStep(std::uint32_t pts, std::uint32_t last, const PtsSettings& settings) {
    const std::int64_t target = settings.targetMs == 0 ? 1 : settings.targetMs;
    const std::int64_t range = settings.rangeMs == target ? 0 : settings.rangeMs;
    PtsVerdict verdict;
    verdict.difference = pts - last;
    verdict.low = target - range;
    verdict.high = target + range;
    const bool inRange = range != 0 && verdict.difference > verdict.low && verdict.difference < verdict.high;
    verdict.report = last != 0 && !inRange;
    return verdict;
}

void ShowPTSDiff(std::uint32_t pts, int frameRate) {
    const PtsVerdict verdict =
        JudgePtsStep(pts, g_lastPts.exchange(pts), platform::ReadPtsSettings(frameRate));
    if (verdict.report) {
        NORIX_LOG("CCtrlParam::ShowPTSDiff", 0,
                  "ShowPTSDiff(pts=%u) pts difference = %2d ms (out-of-range: <=%d >=%d)", pts,
                  static_cast<int>(verdict.difference), static_cast<int>(verdict.low),
                  static_cast<int>(verdict.high));
    }
}

}  // namespace norix
