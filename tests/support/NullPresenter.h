#pragma once

#include <atomic>

#include "render/present/Presenter.h"

namespace norix {

/// Shows nothing and counts: for tests and benchmarks of what lies before a presenter. The counters and the
/// results to return may be used from any thread.
class NullPresenter final : public Presenter {
  public:
    explicit NullPresenter(codec::PixelFormat format) : m_format(format) {}

    codec::PixelFormat Format() const override { return m_format; }
    HRESULT Initialize(int width, int height) override {
        ++initialized;
        this->width = width;
        this->height = height;
        return initializeResult;
    }
    HRESULT Present(const Picture&) override {
        ++presented;
        return S_OK;
    }
    void DisplayChanged() override { ++displayChanges; }

    std::atomic<int> initialized{0};
    std::atomic<int> width{0};  // of the last Initialize()
    std::atomic<int> height{0};
    std::atomic<int> presented{0};
    std::atomic<int> displayChanges{0};
    std::atomic<HRESULT> initializeResult{S_OK};

  private:
    const codec::PixelFormat m_format;
};

}  // namespace norix
