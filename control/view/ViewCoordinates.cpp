#include "control/view/ViewCoordinates.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace norix {

namespace {

std::optional<long> Scale(long value, long from, long to) {
    const double scaled = std::floor(static_cast<double>(value) * to / from + 0.5);
    if (scaled < std::numeric_limits<std::int32_t>::min() ||
        scaled > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<long>(scaled);
}

}  // namespace

std::optional<ViewPoint> ConvertPoint(ViewPoint point, ViewSize from, ViewSize to) {
    if (from.width < 1 || from.height < 1 || to.width < 1 || to.height < 1) return std::nullopt;
    const std::optional<long> x = Scale(point.x, from.width, to.width);
    const std::optional<long> y = Scale(point.y, from.height, to.height);
    if (!x || !y) return std::nullopt;
    return ViewPoint{*x, *y};
}

std::wstring PointToJson(ViewPoint point) {
    return L"{ \"x\": " + std::to_wstring(point.x) + L", \"y\": " + std::to_wstring(point.y) + L" }";
}

}  // namespace norix
