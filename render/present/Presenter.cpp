#include "render/present/Presenter.h"

#include <utility>

#include "render/present/DirectDrawPresenter.h"
#include "render/present/GdiPresenter.h"

namespace norix {

void Presenter::Show(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn) {
    Picture picture;
    picture.data = frame.picture.Data();
    picture.size = frame.size;
    picture.stride = frame.Stride();
    for (std::size_t i = 0; i < kRegionCount; ++i)
        picture.regions[i] = {frame.regions[i], drawn[i], frame.alarms[i], frame.levels[i]};
    if (Present(picture) == S_OK && !m_hasShown.exchange(true)) {
        std::shared_ptr<Presenter> over;  // its end may take a while
        const std::lock_guard lock(m_lock);
        m_before.swap(over);
    }
    // Wine brings what a thread has drawn to the screen when that thread finds its message queue empty. This
    // one has no messages to look for, so every other picture would wait for the next. GdiFlush is no help.
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
}

void Presenter::TakeOver(std::shared_ptr<Presenter> before) {
    if (before && !before->m_hasShown) before = before->Before();
    const std::lock_guard lock(m_lock);
    m_before = std::move(before);
}

std::shared_ptr<Presenter> Presenter::Before() const {
    const std::lock_guard lock(m_lock);
    return m_before;
}

bool Presenter::DrawLast(HDC dc, const RECT& target) {
    if (DrawOwn(dc, target)) return true;
    const std::shared_ptr<Presenter> before = Before();
    return before && before->DrawOwn(dc, target);
}

std::unique_ptr<Presenter> CreatePresenter(DisplayMode mode, const PresenterConfig& config) {
    if (mode == DisplayMode::DirectDraw) return std::make_unique<DirectDrawPresenter>(config);
    return std::make_unique<GdiPresenter>(config);
}

}  // namespace norix
