#include "render/present/PicturePainter.h"

#include <algorithm>

#include "codec/ColorConvert.h"

namespace norix {

bool PicturePainter::Paint(const Picture& picture, const PictureView::Settings& settings,
                           const codec::BgrScaler::Target& target, bool smooth) {
    constexpr int kPixel = codec::BytesPerPixel(codec::PixelFormat::kBgr24);
    const PixelRect& shown = settings.source;
    codec::BgrScaler::Source source = {nullptr, picture.stride, shown.Width(), shown.Height()};
    if (picture.format == codec::PixelFormat::kYuy2) {
        const int stride = picture.size.width * kPixel;
        const std::size_t bytes = static_cast<std::size_t>(stride) * picture.size.height;
        m_bgr.resize(std::max(m_bgr.size(), bytes));
        if (codec::ConvertYuy2ToBgr24(picture.data, picture.stride, picture.size.width, picture.size.height,
                                      m_bgr.data(), stride) != codec::Status::kOk)
            return false;
        source.pixels = m_bgr.data();
        source.stride = stride;
    } else {
        source.pixels = picture.data;
    }
    source.pixels += shown.top * source.stride + static_cast<std::ptrdiff_t>(shown.left) * kPixel;

    const PixelSize turned = RotatedSize({source.width, source.height}, settings.rotation);
    const bool muchSmaller = target.width * 2 < turned.width || target.height * 2 < turned.height;
    const auto filter =
        smooth && muchSmaller ? codec::BgrScaler::Filter::kBilinear : codec::BgrScaler::Filter::kNearest;
    return m_scaler.Scale(source, target, settings.rotation, filter) == codec::Status::kOk;
}

}  // namespace norix
