#include "render/overlay/GdiTools.h"

#include <algorithm>

namespace norix {
namespace {

constexpr int kTenthsOfPointsPerInch = 720;
// Larger glyphs than this fill no screen, and take memory by the megabyte each.
constexpr int kLargestFontPixels = 2000;

}  // namespace

util::UniqueFont MakePointFont(long tenthsOfPoint, const wchar_t* face, int dpi) {
    const int pixels = std::clamp(MulDiv(tenthsOfPoint, dpi, kTenthsOfPointsPerInch), -kLargestFontPixels,
                                  kLargestFontPixels);
    LOGFONTW font = {};
    font.lfHeight = -pixels;
    font.lfCharSet = DEFAULT_CHARSET;
    lstrcpynW(font.lfFaceName, face, LF_FACESIZE);
    return util::UniqueFont(CreateFontIndirectW(&font));
}

}  // namespace norix
