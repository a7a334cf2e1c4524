#include "render/Presenter.h"

#include "render/DirectDrawPresenter.h"
#include "render/GdiPresenter.h"

namespace norix {

std::unique_ptr<Presenter> CreatePresenter(DisplayMode mode, const PresenterConfig& config) {
    if (mode == DisplayMode::DirectDraw) return std::make_unique<DirectDrawPresenter>(config);
    return std::make_unique<GdiPresenter>(config);
}

}  // namespace norix
