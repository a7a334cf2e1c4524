#include "render/present/Presenter.h"

#include "render/present/DirectDrawPresenter.h"
#include "render/present/GdiPresenter.h"

namespace norix {

std::unique_ptr<Presenter> CreatePresenter(DisplayMode mode, const PresenterConfig& config) {
    if (mode == DisplayMode::DirectDraw) return std::make_unique<DirectDrawPresenter>(config);
    return std::make_unique<GdiPresenter>(config);
}

}  // namespace norix
