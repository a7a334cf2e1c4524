#include "control/view/OverlappedRules.h"

#include <algorithm>

namespace norix {
namespace {

void LimitSpan(int& begin, int& end, int lastBegin) {
    if (end - begin >= kLeastOverlappedSize) return;
    if (begin <= lastBegin) {
        end = begin + kLeastOverlappedSize;
    } else {
        begin = end - kLeastOverlappedSize;
    }
}

}  // namespace

PixelRect KeepInside(const PixelRect& proposed, PixelSize parent) {
    const int left = std::max(std::min(proposed.left, parent.width - proposed.Width()), 0);
    const int top = std::max(std::min(proposed.top, parent.height - proposed.Height()), 0);
    return Offset(proposed, left - proposed.left, top - proposed.top);
}

PixelRect LimitSize(const PixelRect& proposed, PixelRect& last) {
    if (last == PixelRect{}) last = proposed;
    PixelRect limited = proposed;
    LimitSpan(limited.left, limited.right, last.left);
    LimitSpan(limited.top, limited.bottom, last.top);
    last = limited;
    return limited;
}

}  // namespace norix
