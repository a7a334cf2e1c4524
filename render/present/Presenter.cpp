#include "render/present/Presenter.h"

#include "render/present/DirectDrawPresenter.h"
#include "render/present/GdiPresenter.h"

namespace norix {

Picture PictureOf(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn) {
    Picture picture;
    picture.data = frame.picture.Data();
    picture.size = frame.size;
    picture.stride = frame.Stride();
    picture.format = frame.format;
    for (std::size_t i = 0; i < kRegionCount; ++i)
        picture.regions[i] = {frame.regions[i], drawn[i], frame.alarms[i], frame.levels[i]};
    return picture;
}

void Presenter::Show(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn) {
    Present(PictureOf(frame, drawn));
    // Wine brings what a thread has drawn to the screen when that thread finds its message queue empty. This
    // one has no messages to look for, so every other picture would wait for the next. GdiFlush is no help.
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
}

std::unique_ptr<Presenter> CreatePresenter(DisplayMode mode, const PresenterConfig& config) {
    if (mode == DisplayMode::DirectDraw) return std::make_unique<DirectDrawPresenter>(config);
    return std::make_unique<GdiPresenter>(config);
}

}  // namespace norix
