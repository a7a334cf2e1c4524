#include "render/present/KeptPicture.h"

#include <cstring>
#include <utility>

namespace norix {

DisplayFrame KeptPicture::Describe(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn) {
    DisplayFrame kept;
    kept.pts = frame.pts;
    kept.size = frame.size;
    kept.format = frame.format;
    kept.regions = frame.regions;
    kept.used = drawn;
    kept.alarms = frame.alarms;
    kept.levels = frame.levels;
    return kept;
}

void KeptPicture::Keep(DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn) {
    DisplayFrame next = Describe(frame, drawn);
    next.picture.Swap(frame.picture);
    const std::lock_guard lock(m_lock);
    std::swap(m_frame, next);
    frame.picture.Swap(next.picture);
}

void KeptPicture::KeepCopy(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn) {
    DisplayFrame copy = Describe(frame, drawn);
    {
        const std::lock_guard lock(m_lock);
        copy.picture.Swap(m_frame.picture);
    }
    const std::size_t bytes = frame.picture.Capacity();
    if (copy.picture.Capacity() != bytes) copy.picture = PictureBuffer(bytes);
    if (!copy.picture) return;
    std::memcpy(copy.picture.Data(), frame.picture.Data(), bytes);
    const std::lock_guard lock(m_lock);
    m_frame = std::move(copy);
}

std::optional<DisplayFrame> KeptPicture::Borrow() {
    const std::lock_guard lock(m_lock);
    if (!m_frame.picture) return std::nullopt;
    return std::exchange(m_frame, DisplayFrame());
}

void KeptPicture::Return(DisplayFrame frame) {
    const std::lock_guard lock(m_lock);
    if (!m_frame.picture) m_frame = std::move(frame);
}

}  // namespace norix
