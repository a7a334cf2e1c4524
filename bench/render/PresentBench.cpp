// Milliseconds per presented picture. The argument names: picture height, window width (its height keeps
// 16:9). "Bare" calls are what a presenter cannot do without, on the same window in the same run.

#include <benchmark/benchmark.h>
#include <windows.h>
#include <wrl/client.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "bench/render/BenchWindow.h"
#include "render/overlay/GraphicObjects.h"
#include "render/present/DirectDrawFunctions.h"
#include "render/present/Presenter.h"
#include "util/Handles.h"

namespace norix {
namespace {

constexpr int kSmallWindow = 960;
constexpr int kLargeWindow = 1280;

PixelSize SixteenByNine(int height) {
    return {height * 16 / 9, height};
}

// Two different pictures with the steps and gradients of a camera's, and a little noise. Pure noise would
// measure how badly a branch predictor does on it.
class Pictures {
  public:
    Pictures(PixelSize size, codec::PixelFormat format) {
        const int stride = codec::RowBytes(format, size.width);
        for (std::size_t which = 0; which < 2; ++which) {
            std::vector<std::uint8_t>& bytes = m_bytes[which];
            bytes.resize(static_cast<std::size_t>(stride) * size.height);
            std::uint32_t noise = 12345;
            for (int y = 0; y < size.height; ++y) {
                std::uint8_t* const row = &bytes[static_cast<std::size_t>(y) * stride];
                for (int x = 0; x < stride; ++x) {
                    noise = noise * 1664525 + 1013904223;
                    row[x] =
                        static_cast<std::uint8_t>(32 + (x / 16 + y / 4 + which * 40) % 160 + (noise >> 30));
                }
            }
            m_pictures[which].data = bytes.data();
            m_pictures[which].size = size;
            m_pictures[which].stride = stride;
            m_pictures[which].format = format;
        }
    }
    const Picture& Next() { return m_pictures[m_count++ % 2]; }

  private:
    std::vector<std::uint8_t> m_bytes[2];
    Picture m_pictures[2];
    std::size_t m_count = 0;
};

void RunPresenter(benchmark::State& state, DisplayMode mode, std::shared_ptr<PictureView> view,
                  std::shared_ptr<OverlayPainter> overlays = nullptr) {
    const PixelSize size = SixteenByNine(static_cast<int>(state.range(0)));
    const bench::Window window(static_cast<int>(state.range(1)));
    PresenterConfig config;
    config.videoWindow = window.Handle();
    config.notifyWindow = window.Handle();
    config.view = std::move(view);
    config.overlays = std::move(overlays);
    const auto presenter = CreatePresenter(mode, config);
    if (presenter->Initialize(size.width, size.height) != S_OK) {
        state.SkipWithError("no presenter");
        return;
    }
    Pictures pictures(size, presenter->Format());
    for (auto _ : state) {
        if (presenter->Present(pictures.Next()) != S_OK) state.SkipWithError("not shown");
        GdiFlush();
    }
}

void DirectDraw(benchmark::State& state) {
    const auto view = std::make_shared<PictureView>();
    RunPresenter(state, DisplayMode::DirectDraw, view);
}

void Gdi(benchmark::State& state) {
    const auto view = std::make_shared<PictureView>();
    RunPresenter(state, DisplayMode::Gdi, view);
}

void GdiTurned(benchmark::State& state) {
    const auto view = std::make_shared<PictureView>();
    view->SetRotation(Rotation::k90);
    RunPresenter(state, DisplayMode::Gdi, view);
}

void DirectDrawWithCaption(benchmark::State& state) {
    const auto view = std::make_shared<PictureView>();
    view->SetCaption(L"Gate (AV-TCP)");
    view->SetBorderShown(true);
    RunPresenter(state, DisplayMode::DirectDraw, view);
}

void GdiWithCaption(benchmark::State& state) {
    const auto view = std::make_shared<PictureView>();
    view->SetCaption(L"Gate (AV-TCP)");
    view->SetBorderShown(true);
    RunPresenter(state, DisplayMode::Gdi, view);
}

// What graphic objects a benchmark draws: all kinds in turn with a text among ten, or one kind only.
enum Kinds { kAllKinds, kLines, kFrames, kFilled, kOutlines, kDiscs, kTexts };

void AddObject(GraphicObjects& objects, Kinds kind, const PixelRect& box, long pen, long brush, long font) {
    switch (kind) {
        case kLines:
            objects.DrawLine({box.left, box.top}, {box.right, box.bottom}, pen);
            break;
        case kFrames:
        case kFilled:
            objects.DrawRectangle(box, pen, kind == kFilled ? brush : 0);
            break;
        case kOutlines:
        case kDiscs:
            objects.DrawEllipse(box, pen, kind == kDiscs ? brush : 0);
            break;
        case kTexts:
            objects.DrawText(L"Gate 12", box, DT_SINGLELINE | DT_VCENTER, font, 0);
            break;
        case kAllKinds:
            break;
    }
}

std::shared_ptr<GraphicObjects> MakeObjects(std::int64_t count, Kinds only) {
    auto objects = std::make_shared<GraphicObjects>();
    const long pen = objects->CreatePen(PS_SOLID, 2, RGB(255, 200, 0));
    const long brush = objects->CreateBrush(RGB(0, 80, 160));
    const long font = objects->CreateFont(120, L"Tahoma", RGB(255, 255, 255), nullptr);
    for (int i = 0; i < count; ++i) {
        constexpr Kinds kInTurn[] = {kLines,    kFrames, kDiscs,  kLines,    kFilled,
                                     kOutlines, kLines,  kFrames, kOutlines, kTexts};
        const int x = i % 10 * 90;
        const int y = i / 10 * 50;
        AddObject(*objects, only == kAllKinds ? kInTurn[i % 10] : only, {x, y, x + 60, y + 40}, pen, brush,
                  font);
    }
    return objects;
}

// The third argument: how many graphic objects. The fourth: of which kinds.
void WithObjects(benchmark::State& state, DisplayMode mode) {
    RunPresenter(state, mode, std::make_shared<PictureView>(),
                 MakeObjects(state.range(2), static_cast<Kinds>(state.range(3))));
}

// A hundred objects without a picture, into a bitmap in memory: the above hides them in its noise.
void ObjectsAlone(benchmark::State& state) {
    BITMAPINFO info = {};
    info.bmiHeader = {
        sizeof(info.bmiHeader), kSmallWindow, kSmallWindow * 9 / 16, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    const util::UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    void* bits = nullptr;
    const util::UniqueBitmap bitmap(CreateDIBSection(dc.Get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    const util::SelectGuard selected(dc.Get(), bitmap.Get());
    const auto objects = MakeObjects(100, static_cast<Kinds>(state.range(0)));
    for (auto _ : state)
        objects->PaintOverlays(dc.Get());
}

void GdiWithObjects(benchmark::State& state) {
    WithObjects(state, DisplayMode::Gdi);
}

void DirectDrawWithObjects(benchmark::State& state) {
    WithObjects(state, DisplayMode::DirectDraw);
}

void BareStretchToWindow(benchmark::State& state) {
    const PixelSize size = SixteenByNine(static_cast<int>(state.range(0)));
    const int width = static_cast<int>(state.range(1));
    const bench::Window window(width);
    Pictures pictures(size, codec::PixelFormat::kBgr24);
    const util::WindowDc dc(window.Handle());
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(info.bmiHeader), size.width, -size.height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    SetStretchBltMode(dc.Get(), COLORONCOLOR);
    for (auto _ : state) {
        StretchDIBits(dc.Get(), 0, 0, width, width * 9 / 16, 0, 0, size.width, size.height,
                      pictures.Next().data, &info, DIB_RGB_COLORS, SRCCOPY);
        GdiFlush();
    }
}

// One surface, filled once, shown again and again.
void BareBlt(benchmark::State& state) {
    using Microsoft::WRL::ComPtr;
    const PixelSize size = SixteenByNine(static_cast<int>(state.range(0)));
    const int width = static_cast<int>(state.range(1));
    const bench::Window window(width);
    ComPtr<IDirectDraw7> draw;
    ComPtr<IDirectDrawSurface7> primary;
    ComPtr<IDirectDrawSurface7> surface;
    ComPtr<IDirectDrawClipper> clipper;
    DirectDrawFunctions::System().CreateEx(nullptr, reinterpret_cast<void**>(draw.GetAddressOf()));
    if (!draw || draw->SetCooperativeLevel(window.Handle(), DDSCL_NORMAL) != DD_OK) {
        state.SkipWithError("no DirectDraw");
        return;
    }
    DDSURFACEDESC2 description = {};
    description.dwSize = sizeof(description);
    description.dwFlags = DDSD_CAPS;
    description.ddsCaps.dwCaps = DDSCAPS_PRIMARYSURFACE;
    draw->CreateSurface(&description, primary.GetAddressOf(), nullptr);
    draw->CreateClipper(0, clipper.GetAddressOf(), nullptr);
    description.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT | DDSD_PIXELFORMAT;
    description.dwWidth = static_cast<DWORD>(size.width);
    description.dwHeight = static_cast<DWORD>(size.height);
    description.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN;
    description.ddpfPixelFormat.dwSize = sizeof(description.ddpfPixelFormat);
    description.ddpfPixelFormat.dwFlags = DDPF_FOURCC;
    description.ddpfPixelFormat.dwFourCC = MAKEFOURCC('Y', 'U', 'Y', '2');
    draw->CreateSurface(&description, surface.GetAddressOf(), nullptr);
    if (!primary || !clipper || !surface) {
        state.SkipWithError("no surfaces");
        return;
    }
    clipper->SetHWnd(0, window.Handle());
    primary->SetClipper(clipper.Get());
    DDSURFACEDESC2 locked = {};
    locked.dwSize = sizeof(locked);
    if (FAILED(surface->Lock(nullptr, &locked, DDLOCK_WAIT, nullptr))) {
        state.SkipWithError("no lock");
        return;
    }
    Pictures pictures(size, codec::PixelFormat::kYuy2);
    const Picture& picture = pictures.Next();
    for (int row = 0; row < size.height; ++row)
        std::copy_n(picture.data + static_cast<std::size_t>(row) * size.width * 2, size.width * 2,
                    static_cast<std::uint8_t*>(locked.lpSurface) + row * locked.lPitch);
    surface->Unlock(nullptr);
    RECT target{0, 0, width, width * 9 / 16};
    for (auto _ : state) {
        if (FAILED(primary->Blt(&target, surface.Get(), nullptr, DDBLT_WAIT, nullptr)))
            state.SkipWithError("not shown");
        GdiFlush();
    }
}

void BareCopyOfYuy2(benchmark::State& state) {
    const PixelSize size = SixteenByNine(static_cast<int>(state.range(0)));
    Pictures pictures(size, codec::PixelFormat::kYuy2);
    std::vector<std::uint8_t> target(static_cast<std::size_t>(size.width) * 2 * size.height);
    for (auto _ : state) {
        std::copy_n(pictures.Next().data, target.size(), target.data());
        benchmark::DoNotOptimize(target.data());
    }
}

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({720, kSmallWindow})
        ->Args({720, kLargeWindow})
        ->Args({1080, kSmallWindow})
        ->Args({1080, kLargeWindow})
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void ObjectCounts(benchmark::internal::Benchmark* bench) {
    bench->Args({1080, kSmallWindow, 0, kAllKinds});
    for (int kind = kAllKinds; kind <= kTexts; ++kind)
        bench->Args({1080, kSmallWindow, 100, kind});
    bench->Unit(benchmark::kMillisecond);
}

BENCHMARK(DirectDraw)->Apply(Sizes);
BENCHMARK(Gdi)->Apply(Sizes);
BENCHMARK(DirectDrawWithCaption)->Apply(Sizes);
BENCHMARK(GdiWithCaption)->Apply(Sizes);
BENCHMARK(GdiTurned)->Apply(Sizes);
BENCHMARK(GdiWithObjects)->Apply(ObjectCounts);
BENCHMARK(DirectDrawWithObjects)->Apply(ObjectCounts);
BENCHMARK(ObjectsAlone)->DenseRange(kAllKinds, kTexts)->Unit(benchmark::kMicrosecond);
BENCHMARK(BareBlt)->Apply(Sizes);
BENCHMARK(BareStretchToWindow)->Apply(Sizes);
BENCHMARK(BareCopyOfYuy2)->Args({720, 0})->Args({1080, 0})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace norix
