#include "render/present/PictureView.h"

#include "util/Log.h"

namespace norix {
namespace {

constexpr std::int32_t kOk = 0;
constexpr std::int32_t kInvalidArgument = static_cast<std::int32_t>(0x80070057u);

int Scale(int value, int from, int to) {
    return static_cast<int>((std::int64_t{value} * to + from / 2) / from);
}

PixelRect Scale(const PixelRect& rect, PixelSize from, PixelSize to) {
    return {Scale(rect.left, from.width, to.width), Scale(rect.top, from.height, to.height),
            Scale(rect.right, from.width, to.width), Scale(rect.bottom, from.height, to.height)};
}

}  // namespace

std::int32_t PictureView::SetSourceRect(int left, int top, int right, int bottom) {
    if (left < 0 || top < 0 || (left == 0 && top == 0 && right == 0 && bottom == 0)) return kInvalidArgument;
    {
        const std::lock_guard lock(m_lock);
        if (right > m_picture.width || bottom > m_picture.height || left > right || top > bottom)
            return kInvalidArgument;
        m_source = {left, top, right, bottom};
    }
    NORIX_LOG("CDecoder::SetSourceRect", 0, "SetSourceRectL left:%d, top:%d, right:%d, buttom:%d", left, top,
              right, bottom);
    return kOk;
}

void PictureView::EnableDigitalPtz(bool enable) {
    const std::lock_guard lock(m_lock);
    m_digitalPtz = enable;
    if (!enable) m_source = Whole(m_picture);
}

bool PictureView::IsDigitalPtzEnabled() const {
    const std::lock_guard lock(m_lock);
    return m_digitalPtz;
}

PictureView::Layout PictureView::CurrentLayout() const {
    const std::lock_guard lock(m_lock);
    const bool whole = !m_digitalPtz || m_source == PixelRect{};
    return {m_picture, whole ? Whole(m_picture) : UsableSource(m_source, m_picture), m_rotation};
}

void PictureView::SetRotation(Rotation rotation) {
    const std::lock_guard lock(m_lock);
    m_rotation = rotation;
}

void PictureView::SetCaption(const std::wstring& text) {
    auto caption = text.empty() ? nullptr : std::make_shared<const std::wstring>(text);
    const std::lock_guard lock(m_lock);
    m_caption.swap(caption);
}

void PictureView::SetCaptionShown(bool shown) {
    const std::lock_guard lock(m_lock);
    m_captionShown = shown;
}

void PictureView::SetBorderShown(bool shown) {
    const std::lock_guard lock(m_lock);
    m_borderShown = shown;
}

void PictureView::SetRegionNames(const RegionNames& names) {
    auto shared = std::make_shared<const RegionNames>(names);
    const std::lock_guard lock(m_lock);
    m_regionNames.swap(shared);
}

/// With m_lock held.
void PictureView::Adopt(PixelSize picture) {
    if (picture == m_picture) return;
    if (!m_picture.IsEmpty() && !picture.IsEmpty()) m_source = Scale(m_source, m_picture, picture);
    m_picture = picture;
}

void PictureView::SetPictureSize(PixelSize size) {
    const std::lock_guard lock(m_lock);
    Adopt(size);
}

/// With m_lock held.
PictureView::Settings PictureView::SettingsFor(const PixelRect& source, PixelSize picture) const {
    return {UsableSource(source, picture), m_rotation, m_captionShown ? m_caption : nullptr, m_borderShown,
            m_regionNames};
}

PictureView::Settings PictureView::Current(PixelSize picture) {
    const std::lock_guard lock(m_lock);
    Adopt(picture);
    // All zero, which nobody can set, means that digital PTZ was on before the first picture.
    if (!m_digitalPtz || m_source == PixelRect{}) m_source = Whole(picture);
    return SettingsFor(m_source, picture);
}

PictureView::Settings PictureView::Peek(PixelSize picture) const {
    const std::lock_guard lock(m_lock);
    const bool whole = !m_digitalPtz || m_source == PixelRect{} || m_picture.IsEmpty();
    return SettingsFor(whole ? Whole(picture) : Scale(m_source, m_picture, picture), picture);
}

}  // namespace norix
