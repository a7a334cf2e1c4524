#include "render/overlay/PaintedPixels.h"

#include <algorithm>
#include <cstring>

namespace norix {
namespace {

constexpr std::uint32_t kColour = 0xFFFFFF;
constexpr int kPixelBytes = 4;

enum class Kind { kUntouched, kCovering, kMixed };

Kind KindOf(std::uint32_t onBlack, std::uint32_t onWhite) {
    onBlack &= kColour;
    onWhite &= kColour;
    if (onBlack == onWhite) return Kind::kCovering;
    return onBlack == 0 && onWhite == kColour ? Kind::kUntouched : Kind::kMixed;
}

std::uint32_t Channel(std::uint32_t pixel, int shift) {
    return pixel >> shift & 0xFF;
}

// What of white came through, channel by channel.
std::uint32_t Through(std::uint32_t onBlack, std::uint32_t onWhite) {
    std::uint32_t through = 0;
    for (const int shift : {0, 8, 16}) {
        const std::uint32_t black = Channel(onBlack, shift);
        const std::uint32_t white = Channel(onWhite, shift);
        through |= (white > black ? white - black : 0) << shift;
    }
    return through;
}

std::uint32_t Over(std::uint32_t picture, std::uint32_t colour, std::uint32_t through) {
    std::uint32_t result = 0;
    for (const int shift : {0, 8, 16}) {
        const std::uint32_t remains = (Channel(picture, shift) * Channel(through, shift) + 127) / 255;
        result |= std::min<std::uint32_t>(remains + Channel(colour, shift), 255) << shift;
    }
    return result;
}

}  // namespace

void PaintedPixels::Clear() {
    m_rows = 0;
    m_covering = {};
    m_colours = {};
    m_mixed = {};
    m_mixtures = {};
}

void PaintedPixels::AddRow(const std::uint32_t* onBlack, const std::uint32_t* onWhite, int width) {
    for (int begin = 0; begin < width;) {
        const Kind kind = KindOf(onBlack[begin], onWhite[begin]);
        int end = begin + 1;
        while (end < width && KindOf(onBlack[end], onWhite[end]) == kind)
            ++end;
        if (kind == Kind::kCovering) AddCovering(onBlack, begin, end);
        if (kind == Kind::kMixed) AddMixed(onBlack, onWhite, begin, end);
        begin = end;
    }
    ++m_rows;
}

void PaintedPixels::AddCovering(const std::uint32_t* pixels, int begin, int end) {
    m_covering.push_back({m_rows, begin, end - begin, m_colours.size()});
    m_colours.insert(m_colours.end(), pixels + begin, pixels + end);
}

void PaintedPixels::AddMixed(const std::uint32_t* onBlack, const std::uint32_t* onWhite, int begin, int end) {
    m_mixed.push_back({m_rows, begin, end - begin, m_mixtures.size()});
    for (int x = begin; x < end; ++x)
        m_mixtures.push_back({onBlack[x] & kColour, Through(onBlack[x], onWhite[x])});
}

void PaintedPixels::Compose(const codec::BgrScaler::Target& target) const {
    const auto each = [&](const std::vector<Run>& runs, auto put) {
        for (const Run& run : runs) {
            const int length = std::min(run.length, target.width - run.begin);
            if (run.row >= target.height || length <= 0) continue;
            put(target.pixels + run.row * target.stride + run.begin * kPixelBytes, run.at,
                static_cast<std::size_t>(length));
        }
    };
    each(m_covering, [this](std::uint8_t* to, std::size_t at, std::size_t length) {
        std::memcpy(to, &m_colours[at], length * kPixelBytes);
    });
    each(m_mixed, [this](std::uint8_t* to, std::size_t at, std::size_t length) {
        for (std::size_t i = 0; i < length; ++i, to += kPixelBytes) {
            std::uint32_t pixel;
            std::memcpy(&pixel, to, sizeof pixel);
            pixel = Over(pixel, m_mixtures[at + i].colour, m_mixtures[at + i].through);
            std::memcpy(to, &pixel, sizeof pixel);
        }
    });
}

}  // namespace norix
