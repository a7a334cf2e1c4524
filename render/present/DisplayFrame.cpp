#include "render/present/DisplayFrame.h"

namespace norix {
namespace {

int Scale(int value, int from, int to) {
    return from <= 0 ? value : static_cast<int>(static_cast<std::int64_t>(value) * to / from);
}

}  // namespace

PixelRect RegionToPicture(const RegionRecord& region, PixelSize reference, PixelSize picture) {
    const int right = region.x + region.width;
    const int bottom = region.y + region.height;
    const PixelRect scaled{
        Scale(region.x, reference.width, picture.width), Scale(region.y, reference.height, picture.height),
        Scale(right, reference.width, picture.width), Scale(bottom, reference.height, picture.height)};
    return Intersect(scaled, Whole(picture));
}

}  // namespace norix
