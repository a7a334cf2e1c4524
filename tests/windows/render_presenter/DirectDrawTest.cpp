// What the DirectDraw presenter does when DirectDraw misbehaves: real surfaces, with single methods replaced.

#include "render/present/DirectDrawPresenter.h"

#include <gmock/gmock.h>

#include <functional>
#include <iterator>
#include <memory>

#include "render/present/DisplayChoice.h"
#include "tests/support/ResourceUse.h"
#include "tests/windows/render_presenter/Screen.h"

namespace norix {
namespace {

using Microsoft::WRL::ComPtr;
using testing::IsEmpty;

constexpr PixelSize kPicture{320, 240};
constexpr PixelRect kPlace{200, 150, 600, 450};

// Replaces one method of a COM class, for all its objects, while it lives.
class ReplacedMethod {
  public:
    ReplacedMethod(IUnknown* object, int index, void* replacement)
        : m_entry(&(*reinterpret_cast<void***>(object))[index]), m_original(*m_entry) {
        Write(replacement);
    }
    ~ReplacedMethod() { Write(m_original); }
    ReplacedMethod(const ReplacedMethod&) = delete;
    ReplacedMethod& operator=(const ReplacedMethod&) = delete;

    void* Original() const { return m_original; }

  private:
    void Write(void* method) {
        DWORD protection = 0;
        VirtualProtect(m_entry, sizeof(*m_entry), PAGE_READWRITE, &protection);
        *m_entry = method;
        VirtualProtect(m_entry, sizeof(*m_entry), protection, &protection);
    }

    void** m_entry;
    void* m_original;
};

// Places in the tables of IDirectDraw7, IDirectDrawSurface7 and IDirectDrawClipper.
constexpr int kCreateClipper = 4;
constexpr int kGetDisplayMode = 12;
constexpr int kSetCooperativeLevel = 20;
constexpr int kGetDC = 17;
constexpr int kGetSurfaceDesc = 22;
constexpr int kSetClipper = 28;
constexpr int kSetHWnd = 8;
constexpr int kCreateSurface = 6;
constexpr int kGetCaps = 11;
constexpr int kWaitForVerticalBlank = 22;
constexpr int kBlt = 5;
constexpr int kLock = 25;
constexpr int kRestore = 27;

struct Script {
    int failingLocks = 0;
    int failingBlts = 0;
    int withoutMemory = 0;  // locks that succeed and give no address
    DWORD refusedCaps = 0;  // surfaces with all of these are refused
    int failingCreations = 0;
    bool composes = true;  // stretches into surfaces that are not the screen's
    HRESULT blts = DD_OK;  // what they all fail with

    int restores = 0;
    int blanks = 0;
    int devices = 0;   // made for one monitor
    int defaults = 0;  // made for none
    int enumerations = 0;
    std::vector<DWORD> askedCaps;
    RECT lastTarget = {};
};
Script g_script;

void* g_lock;
void* g_blt;
void* g_create;
void* g_restore;
void* g_caps;

HRESULT WINAPI Lock(IDirectDrawSurface7* self, RECT* rect, DDSURFACEDESC2* description, DWORD flags,
                    HANDLE event) {
    if (g_script.failingLocks > 0) {
        --g_script.failingLocks;
        return DDERR_SURFACELOST;
    }
    const HRESULT result = reinterpret_cast<decltype(&Lock)>(g_lock)(self, rect, description, flags, event);
    if (g_script.withoutMemory > 0 && SUCCEEDED(result)) {
        --g_script.withoutMemory;
        description->lpSurface = nullptr;
    }
    return result;
}

HRESULT WINAPI Blt(IDirectDrawSurface7* self, RECT* to, IDirectDrawSurface7* from, RECT* source, DWORD flags,
                   DDBLTFX* effects) {
    DDSCAPS2 caps = {};
    self->GetCaps(&caps);
    if (!g_script.composes && (caps.dwCaps & DDSCAPS_PRIMARYSURFACE) == 0) return DDERR_UNSUPPORTED;
    g_script.lastTarget = *to;
    if (FAILED(g_script.blts)) return g_script.blts;
    if (g_script.failingBlts > 0) {
        --g_script.failingBlts;
        return DDERR_SURFACELOST;
    }
    return reinterpret_cast<decltype(&Blt)>(g_blt)(self, to, from, source, flags, effects);
}

HRESULT WINAPI Restore(IDirectDrawSurface7* self) {
    ++g_script.restores;
    return reinterpret_cast<decltype(&Restore)>(g_restore)(self);
}

HRESULT WINAPI CreateSurface(IDirectDraw7* self, DDSURFACEDESC2* description, IDirectDrawSurface7** surface,
                             IUnknown* outer) {
    const DWORD caps = description->ddsCaps.dwCaps;
    g_script.askedCaps.push_back(caps);
    if (g_script.refusedCaps != 0 && (caps & g_script.refusedCaps) == g_script.refusedCaps)
        return DDERR_OUTOFVIDEOMEMORY;
    return reinterpret_cast<decltype(&CreateSurface)>(g_create)(self, description, surface, outer);
}

// A driver with all that presenting needs, which Wine's is not.
HRESULT WINAPI GetCaps(IDirectDraw7* self, DDCAPS* driver, DDCAPS* emulation) {
    const HRESULT result = reinterpret_cast<decltype(&GetCaps)>(g_caps)(self, driver, emulation);
    if (driver) driver->dwCaps |= DDCAPS_BLT | DDCAPS_OVERLAY | DDCAPS_BLTCOLORFILL | DDCAPS_BLTSTRETCH;
    return result;
}

HRESULT WINAPI WaitForVerticalBlank(IDirectDraw7*, DWORD flags, HANDLE) {
    g_script.blanks += flags == DDWAITVB_BLOCKBEGIN;
    return DD_OK;
}

// A method of so many arguments that never does anything.
template <int kArguments>
struct Refusal;
template <>
struct Refusal<1> {
    static HRESULT WINAPI Call(IUnknown*, void*) { return DDERR_GENERIC; }
};
template <>
struct Refusal<2> {
    static HRESULT WINAPI Call(IUnknown*, void*, void*) { return DDERR_GENERIC; }
};
template <>
struct Refusal<3> {
    static HRESULT WINAPI Call(IUnknown*, void*, void*, void*) { return DDERR_GENERIC; }
};

// A computer with two monitors side by side that share one real screen. Each has a device of its own.
constexpr GUID kLeftDevice = {1, 0, 0, {0}};
constexpr GUID kRightDevice = {2, 0, 0, {0}};
const HMONITOR kLeft = reinterpret_cast<HMONITOR>(static_cast<UINT_PTR>(0x101));
const HMONITOR kRight = reinterpret_cast<HMONITOR>(static_cast<UINT_PTR>(0x102));
constexpr LONG kSeam = 640;
bool g_listDevices = true;

HMONITOR WINAPI FromWindow(HWND window, DWORD) {
    RECT rect;
    GetWindowRect(window, &rect);
    return (rect.left + rect.right) / 2 < kSeam ? kLeft : kRight;
}

BOOL WINAPI MonitorInfo(HMONITOR monitor, LPMONITORINFO info) {
    const bool left = monitor == kLeft;
    info->dwFlags = left ? MONITORINFOF_PRIMARY : 0;
    info->rcMonitor = left ? RECT{0, 0, kSeam, 1024} : RECT{kSeam, 100, 1280, 1024};
    info->rcWork = info->rcMonitor;
    return TRUE;
}

int WINAPI Metrics(int index) {
    switch (index) {
        case SM_CXVIRTUALSCREEN:
            return 1280;
        case SM_CYVIRTUALSCREEN:
            return 1024;
        case SM_XVIRTUALSCREEN:
        case SM_YVIRTUALSCREEN:
            return 0;
        default:
            return GetSystemMetrics(index);
    }
}

HRESULT WINAPI Enumerate(LPDDENUMCALLBACKEXA callback, void* context, DWORD flags) {
    ++g_script.enumerations;
    EXPECT_EQ(flags, static_cast<DWORD>(DDENUM_ATTACHEDSECONDARYDEVICES | DDENUM_NONDISPLAYDEVICES));
    char name[] = "display";
    GUID left = kLeftDevice;
    GUID right = kRightDevice;
    callback(nullptr, name, name, context, nullptr);
    if (g_listDevices && callback(&left, name, name, context, kLeft))
        callback(&right, nullptr, nullptr, context, kRight);
    return DD_OK;
}

HRESULT WINAPI Create(GUID* device, void** object, REFIID iid, IUnknown* outer) {
    ++(device ? g_script.devices : g_script.defaults);
    if (g_script.failingCreations > 0 && --g_script.failingCreations == 0) return DDERR_GENERIC;
    return DirectDrawFunctions::System().createEx(nullptr, object, iid, outer);
}

DWORD g_now = 0;  // milliseconds

DWORD WINAPI Now() {
    return g_now;
}

class DirectDrawTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(
            DirectDrawFunctions::System().CreateEx(nullptr, reinterpret_cast<void**>(draw.GetAddressOf())),
            DD_OK);
        ASSERT_EQ(draw->SetCooperativeLevel(window.Handle(), DDSCL_NORMAL), DD_OK);
        DDSURFACEDESC2 description = {};
        description.dwSize = sizeof(description);
        description.dwFlags = DDSD_CAPS;
        description.ddsCaps.dwCaps = DDSCAPS_PRIMARYSURFACE;
        ASSERT_EQ(draw->CreateSurface(&description, surface.GetAddressOf(), nullptr), DD_OK);
        ASSERT_EQ(draw->CreateClipper(0, clipper.GetAddressOf(), nullptr), DD_OK);
        Replace(surface.Get(), kLock, reinterpret_cast<void*>(&Lock), g_lock);
        Replace(surface.Get(), kBlt, reinterpret_cast<void*>(&Blt), g_blt);
        Replace(surface.Get(), kRestore, reinterpret_cast<void*>(&Restore), g_restore);
        Replace(draw.Get(), kCreateSurface, reinterpret_cast<void*>(&CreateSurface), g_create);
        Replace(draw.Get(), kGetCaps, reinterpret_cast<void*>(&GetCaps), g_caps);
        void* unused;
        Replace(draw.Get(), kWaitForVerticalBlank, reinterpret_cast<void*>(&WaitForVerticalBlank), unused);

        g_script = {};
        g_now = 0xFFFFFF00;  // wraps soon
        g_listDevices = true;
        config.videoWindow = window.Handle();
        config.notifyWindow = window.Handle();
        config.view = sharedView;
        functions.createEx = Create;
        functions.enumerateEx = Enumerate;
        monitors.monitorFromWindow = FromWindow;
        monitors.getMonitorInfo = MonitorInfo;
        monitors.getSystemMetrics = Metrics;
        Make();
    }

    void Make() {
        presenter = std::make_unique<DirectDrawPresenter>(config, functions, CMonitors(monitors), Now);
    }
    HRESULT Initialize() { return presenter->Initialize(kPicture.width, kPicture.height); }
    HRESULT Show() { return presenter->Present(picture.Get()); }
    void Erase() {
        InvalidateRect(window.Handle(), nullptr, TRUE);
        UpdateWindow(window.Handle());
    }
    IUnknown* Draw() { return draw.Get(); }
    IUnknown* Surface() { return surface.Get(); }
    IUnknown* Clipper() { return clipper.Get(); }
    bool IsShown() const { return Differences(Pixels::OfScreen(kPlace), TestGrid()).empty(); }

    TestWindow window{kPlace, RGB(255, 0, 255)};
    GridPicture picture{TestGrid(), kPicture, codec::PixelFormat::kYuy2};
    const std::shared_ptr<PictureView> sharedView = std::make_shared<PictureView>();
    PictureView& view = *sharedView;
    PresenterConfig config;
    DirectDrawFunctions functions;
    MonitorFunctions monitors = MonitorFunctions::FromUser32();
    std::unique_ptr<DirectDrawPresenter> presenter;

  private:
    void Replace(IUnknown* object, int index, void* replacement, void*& original) {
        replaced.push_back(std::make_unique<ReplacedMethod>(object, index, replacement));
        original = replaced.back()->Original();
    }

    ComPtr<IDirectDraw7> draw;
    ComPtr<IDirectDrawSurface7> surface;
    ComPtr<IDirectDrawClipper> clipper;
    std::vector<std::unique_ptr<ReplacedMethod>> replaced;
};

TEST_F(DirectDrawTest, IsChosenWhereTheDriverSuffices) {
    const DisplayChoice h264 = ChooseDisplayMode(false, 4, window.Handle());
    EXPECT_EQ(h264.mode, DisplayMode::DirectDraw);
    EXPECT_TRUE(h264.directDrawAvailable);
    const DisplayChoice jpeg = ChooseDisplayMode(false, 2, window.Handle());
    EXPECT_EQ(jpeg.mode, DisplayMode::Gdi);
    EXPECT_TRUE(jpeg.directDrawAvailable);  // the probe was still asked
    const DisplayChoice forced = ChooseDisplayMode(true, 4, window.Handle());
    EXPECT_EQ(forced.mode, DisplayMode::Gdi);
    EXPECT_FALSE(forced.directDrawAvailable);
}

TEST_F(DirectDrawTest, DoesWithoutVideoMemoryWhereThereIsNone) {
    g_script.refusedCaps = DDSCAPS_VIDEOMEMORY;
    ASSERT_EQ(Initialize(), DD_OK);
    EXPECT_THAT(g_script.askedCaps,
                testing::ElementsAre(DDSCAPS_PRIMARYSURFACE | DDSCAPS_VIDEOMEMORY, DDSCAPS_PRIMARYSURFACE,
                                     DDSCAPS_OFFSCREENPLAIN | DDSCAPS_VIDEOMEMORY, DDSCAPS_OFFSCREENPLAIN));
    EXPECT_EQ(Show(), S_OK);
    EXPECT_TRUE(IsShown());

    g_script.refusedCaps = DDSCAPS_OFFSCREENPLAIN;
    EXPECT_EQ(Initialize(), DDERR_OUTOFVIDEOMEMORY);
    EXPECT_TRUE(presenter->HasFailed());
    g_script.refusedCaps = 0;
    EXPECT_EQ(Initialize(), DD_OK);
    EXPECT_FALSE(presenter->HasFailed());
}

// GDI shows what DirectDraw can't meanwhile, in the same moment.
TEST_F(DirectDrawTest, LostSurfacesAreTriedAgainOnceASecond) {
    ASSERT_EQ(Initialize(), DD_OK);
    ASSERT_EQ(Show(), S_OK);
    const int made = g_script.enumerations;

    g_script.failingLocks = 2;
    for (const int lost : {1, 2, 2, 2}) {  // at once, and then not before a second has passed
        Erase();
        EXPECT_EQ(Show(), S_OK);
        EXPECT_TRUE(IsShown());
        EXPECT_EQ(g_script.restores, lost);
    }
    EXPECT_EQ(g_script.enumerations, made);
    g_now += 1000;
    EXPECT_EQ(Show(), S_FALSE);  // can be locked again: made anew
    EXPECT_EQ(g_script.enumerations, made + 1);
    Erase();
    ASSERT_FALSE(IsShown());
    EXPECT_EQ(Show(), S_OK);
    EXPECT_TRUE(IsShown());

    // The primary surface is noticed only when it is drawn to.
    g_script.failingBlts = 1;
    g_script.restores = 0;
    EXPECT_EQ(Show(), S_OK);
    EXPECT_EQ(g_script.restores, 2);
    EXPECT_EQ(Show(), S_FALSE);
    EXPECT_EQ(Show(), S_OK);

    g_script.withoutMemory = 1;
    EXPECT_EQ(Show(), S_OK);
    EXPECT_EQ(Show(), S_FALSE);
    EXPECT_EQ(Show(), S_OK);
    EXPECT_FALSE(presenter->HasFailed());
}

TEST_F(DirectDrawTest, ChangeOfDisplayCostsOnePicture) {
    ASSERT_EQ(Initialize(), DD_OK);
    ASSERT_EQ(Show(), S_OK);
    const int made = g_script.enumerations;
    for (const int lostLocks : {1, 0}) {  // with the surfaces lost, and kept by the system
        g_script.enumerations = made;
        g_script.failingLocks = lostLocks;
        presenter->DisplayChanged();
        EXPECT_EQ(Show(), S_FALSE);
        EXPECT_EQ(g_script.enumerations, made + 1);
        EXPECT_EQ(Show(), S_OK);
        EXPECT_TRUE(IsShown());
        EXPECT_EQ(g_script.enumerations, made + 1);
    }

    // Surfaces that are refused in the new mode are asked for twice, and then once a second.
    presenter->DisplayChanged();
    g_script.failingLocks = 1;
    g_script.refusedCaps = DDSCAPS_OFFSCREENPLAIN;
    g_script.enumerations = 0;
    for (int pictures = 0; pictures < 50; ++pictures) {
        EXPECT_EQ(Show(), S_OK);
        EXPECT_TRUE(IsShown());
        g_now += 40;
    }
    EXPECT_EQ(g_script.enumerations, 3);
    g_script.refusedCaps = 0;
    g_now += 1000;
    EXPECT_EQ(Show(), S_OK);
    EXPECT_TRUE(IsShown());
    EXPECT_EQ(g_script.enumerations, 4);
    EXPECT_FALSE(presenter->HasFailed());
}

TEST_F(DirectDrawTest, FollowsTheWindowToAnotherMonitor) {
    ASSERT_EQ(Initialize(), DD_OK);
    EXPECT_EQ(g_script.devices, 1);
    EXPECT_EQ(g_script.defaults, 1);
    ASSERT_EQ(Show(), S_OK);
    EXPECT_EQ(g_script.lastTarget.left, kPlace.left);
    EXPECT_EQ(g_script.lastTarget.top, kPlace.top);

    window.Move({700, 300, 1100, 600});
    EXPECT_EQ(Show(), S_OK);  // this picture is shown on the new monitor already
    EXPECT_EQ(g_script.devices, 2);
    EXPECT_EQ(g_script.lastTarget.left, 700 - kSeam);
    EXPECT_EQ(g_script.lastTarget.top, 300 - 100);
    EXPECT_EQ(Show(), S_OK);
    EXPECT_EQ(g_script.devices, 2);

    // Beyond the bottom of all monitors: the target stays on the surface.
    window.Move({700, 900, 1100, 1200});
    EXPECT_EQ(Show(), S_OK);
    EXPECT_EQ(g_script.lastTarget.top, 900 - 100);
    EXPECT_EQ(g_script.lastTarget.bottom, 1024);

    // On two monitors, where no device shows it: all of it is seen.
    for (const PixelRect& across : {PixelRect{540, 300, 940, 600}, {700, 40, 1100, 340}}) {
        window.Move(across);
        g_script.lastTarget = {};
        EXPECT_EQ(Show(), S_OK);
        EXPECT_THAT(Differences(Pixels::OfScreen(across), TestGrid()), IsEmpty());
        EXPECT_EQ(g_script.lastTarget.right, 0);
        EXPECT_EQ(g_script.devices, 2);
    }

    // Devices that know no monitors work in the coordinates of the whole screen.
    g_listDevices = false;
    ASSERT_EQ(Initialize(), DD_OK);
    EXPECT_EQ(g_script.devices, 2);
    EXPECT_EQ(Show(), S_OK);
    EXPECT_EQ(g_script.lastTarget.left, 700);
    EXPECT_EQ(g_script.lastTarget.top, 40);
}

// Every call that DirectDraw can refuse, the whole time: the picture is there by GDI, and nothing is left
// behind.
TEST_F(DirectDrawTest, WhateverFailsGdiTakesOver) {
    view.SetBorderShown(true);  // so that all calls are made
    struct Fault {
        const char* call;
        std::function<void()> begin;
    };
    std::unique_ptr<ReplacedMethod> replaced;
    const auto refuse = [&](IUnknown* object, int index, void* replacement) {
        replaced = std::make_unique<ReplacedMethod>(object, index, replacement);
    };
    const Fault faults[] = {
        {"the first object", [] { g_script.failingCreations = 1; }},
        {"the monitor's object", [] { g_script.failingCreations = 2; }},
        {"GetDisplayMode",
         [&] { refuse(Draw(), kGetDisplayMode, reinterpret_cast<void*>(&Refusal<1>::Call)); }},
        {"SetCooperativeLevel",
         [&] { refuse(Draw(), kSetCooperativeLevel, reinterpret_cast<void*>(&Refusal<2>::Call)); }},
        {"CreateClipper",
         [&] { refuse(Draw(), kCreateClipper, reinterpret_cast<void*>(&Refusal<3>::Call)); }},
        {"SetClipper", [&] { refuse(Surface(), kSetClipper, reinterpret_cast<void*>(&Refusal<1>::Call)); }},
        {"SetHWnd", [&] { refuse(Clipper(), kSetHWnd, reinterpret_cast<void*>(&Refusal<2>::Call)); }},
        {"the primary surface", [] { g_script.refusedCaps = DDSCAPS_PRIMARYSURFACE; }},
        {"the picture's surface", [] { g_script.refusedCaps = DDSCAPS_OFFSCREENPLAIN; }},
        {"Lock, lost", [] { g_script.failingLocks = 1 << 30; }},
        {"Lock, no memory", [] { g_script.withoutMemory = 1 << 30; }},
        {"Blt, lost", [] { g_script.failingBlts = 1 << 30; }},
        {"Blt", [] { g_script.blts = DDERR_UNSUPPORTED; }},
        {"GetSurfaceDesc",
         [&] { refuse(Surface(), kGetSurfaceDesc, reinterpret_cast<void*>(&Refusal<1>::Call)); }},
        {"GetDC", [&] { refuse(Surface(), kGetDC, reinterpret_cast<void*>(&Refusal<1>::Call)); }},
    };
    const GridPicture bgr(TestGrid(), kPicture, codec::PixelFormat::kBgr24);
    const auto run = [&](const Fault& fault) {
        Make();
        fault.begin();
        Erase();
        // As the decode loop does it.
        std::shared_ptr<PictureSink> substitute;
        bool shown = false;
        if (!presenter->Prepare(kPicture)) substitute = presenter->Substitute();
        for (int pictures = 0; pictures < 2 && !shown; ++pictures) {
            if (presenter->HasFailed() && !substitute) substitute = presenter->Substitute();
            if (substitute) {
                ASSERT_TRUE(substitute->Prepare(kPicture));
                static_cast<Presenter&>(*substitute).Present(bgr.Get());
            } else {
                Show();
            }
            shown = Alike(Pixels::OfScreen(kPlace).At(50, 50), TestGrid()[0][0]);
        }
        EXPECT_TRUE(shown) << fault.call;
        replaced.reset();
        g_script = {};
    };
    for (const Fault& fault : faults)
        run(fault);
    presenter.reset();
    const ResourceUse before = ResourceUse::Now();
    for (int times = 0; times < 3; ++times)
        for (const Fault& fault : faults)
            run(fault);
    presenter.reset();
    const ResourceUse after = ResourceUse::Now();
    EXPECT_LE(after.gdiSlots, before.gdiSlots + 4) << after;
    EXPECT_LE(after.handleSlots, before.handleSlots + 8) << after;
}

TEST_F(DirectDrawTest, WithoutAWindowOrDirectDrawThereIsNothingToBuild) {
    config.notifyWindow = nullptr;
    Make();
    g_script.askedCaps.clear();
    EXPECT_EQ(Initialize(), S_OK);
    EXPECT_EQ(Show(), S_FALSE);
    EXPECT_THAT(g_script.askedCaps, IsEmpty());

    functions = {};
    config.notifyWindow = window.Handle();
    Make();
    EXPECT_EQ(Initialize(), DDERR_GENERIC);
    EXPECT_TRUE(presenter->HasFailed());
}

TEST_F(DirectDrawTest, DrawsOverThePictureOnTheScreenWhereItHasTo) {
    view.SetBorderShown(true);
    for (const bool composes : {true, false, true}) {
        g_script.composes = composes;
        ASSERT_EQ(Initialize(), DD_OK);
        for (int pictures = 0; pictures < 2; ++pictures) {
            InvalidateRect(window.Handle(), nullptr, TRUE);
            UpdateWindow(window.Handle());
            EXPECT_EQ(Show(), S_OK);
            const Pixels seen = Pixels::OfScreen(kPlace);
            EXPECT_EQ(seen.At(0, 299), RGB(96, 102, 112)) << composes;
            EXPECT_TRUE(Alike(seen.At(50, 50), TestGrid()[0][0])) << composes;
        }
    }
}

TEST_F(DirectDrawTest, WaitsForTheVerticalBlankOnlyWhenAskedTo) {
    ASSERT_EQ(Show(), S_OK);
    EXPECT_EQ(g_script.blanks, 0);
    config.waitForVerticalBlank = true;
    Make();
    ASSERT_EQ(Show(), S_OK);
    ASSERT_EQ(Show(), S_OK);
    EXPECT_EQ(g_script.blanks, 2);
}

}  // namespace
}  // namespace norix
