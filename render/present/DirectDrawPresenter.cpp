#include "render/present/DirectDrawPresenter.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "render/overlay/PictureDecoration.h"
#include "render/present/Visibility.h"
#include "util/Handles.h"
#include "util/Log.h"

namespace norix {
namespace {

using Microsoft::WRL::ComPtr;

constexpr std::uint32_t kMpeg4 = 1;
constexpr std::uint32_t kH264 = 4;
constexpr std::uint32_t kH265 = 8;

// Between two attempts with surfaces that are lost.
constexpr DWORD kRetryMs = 1000;

// Instead of showing: the window is not on this device alone.
constexpr HRESULT kBeyondDevice = 2;

// The device context of a surface, which is locked meanwhile.
class SurfaceDc {
  public:
    explicit SurfaceDc(IDirectDrawSurface7& surface) : m_surface(surface) {
        if (FAILED(surface.GetDC(&m_dc))) m_dc = nullptr;
    }
    ~SurfaceDc() {
        if (m_dc) m_surface.ReleaseDC(m_dc);
    }
    SurfaceDc(const SurfaceDc&) = delete;
    SurfaceDc& operator=(const SurfaceDc&) = delete;

    HDC Get() const { return m_dc; }
    explicit operator bool() const { return m_dc != nullptr; }

  private:
    IDirectDrawSurface7& m_surface;
    HDC m_dc = nullptr;
};

void LogGivingUp(HRESULT failure) {
    NORIX_LOG("CDecoder::InitializeDirectDraw", 1,
              "DirectDraw failed, hr = 0x%08x: pictures are shown by GDI", static_cast<unsigned>(failure));
}

RECT ToRect(const PixelRect& rect) {
    return {rect.left, rect.top, rect.right, rect.bottom};
}

DDSURFACEDESC2 NewDescription() {
    DDSURFACEDESC2 description = {};
    description.dwSize = sizeof(description);
    static_assert(sizeof(description) == 124);
    return description;
}

}  // namespace

DirectDrawPresenter::DirectDrawPresenter(const PresenterConfig& config, const DirectDrawFunctions& directDraw,
                                         const CMonitors& monitors, DWORD(WINAPI* milliseconds)())
    : m_config(config),
      m_directDraw(directDraw),
      m_monitors(monitors),
      m_milliseconds(milliseconds),
      m_objects(config.overlays) {}

DirectDrawPresenter::~DirectDrawPresenter() {
    ReleaseAll();
}

HRESULT DirectDrawPresenter::Initialize(int width, int height) {
    const HRESULT result = InitializeDirectDraw(width, height);
    m_failed = FAILED(result);
    m_failures = 0;
    if (FAILED(result)) LogGivingUp(result);
    return result;
}

std::shared_ptr<PictureSink> DirectDrawPresenter::Substitute() {
    return std::make_shared<GdiPresenter>(m_config);
}

void DirectDrawPresenter::DisplayChanged() {
    m_displayChanged = true;
}

bool DirectDrawPresenter::IsSeen() const {
    return IsWindowSeen(m_config.videoWindow);
}

// ---- One picture

HRESULT DirectDrawPresenter::Present(const Picture& picture) {
    if (!picture.data || picture.size.IsEmpty()) return E_INVALIDARG;
    if (!IsSeen()) return S_FALSE;
    const bool waits = m_failures > 0 && static_cast<LONG>(m_milliseconds() - m_retryAt) < 0;
    if (m_failed || waits) return PresentByGdi(picture);
    const HRESULT shown = PresentByDirectDraw(picture);
    if (FAILED(shown)) NoteFailure(shown);
    if (FAILED(shown) || shown == kBeyondDevice) return PresentByGdi(picture);
    if (shown == S_OK) {
        m_failures = 0;
        m_stopgap.reset();
    }
    return shown;
}

HRESULT DirectDrawPresenter::PresentByDirectDraw(const Picture& picture) {
    RECT client;
    if (!GetClientRect(m_config.videoWindow, &client) || IsRectEmpty(&client)) return S_FALSE;
    const PixelSize window{static_cast<int>(client.right), static_cast<int>(client.bottom)};
    PictureView::Settings settings = m_config.view->Current(picture.size);
    settings.rotation = Rotation::k0;

    HRESULT result = FollowMonitor(picture.size);
    if (FAILED(result)) return result;
    if (!m_picture) return S_FALSE;
    if (ReachesBeyondDevice(window)) return kBeyondDevice;
    result = CopyToSurface(picture);
    if (result != S_OK) return result;
    const bool decorated = (m_config.overlays && m_config.overlays->HasOverlays()) || settings.caption ||
                           settings.border || HasRegions(picture);
    if (decorated) return ShowDecorated(picture, settings, window);
    return ShowOnScreen(*m_picture.Get(), {settings.source, Whole(window)});
}

HRESULT DirectDrawPresenter::ShowDecorated(const Picture& picture, const PictureView::Settings& settings,
                                           PixelSize window) {
    const HRESULT composed = Compose(settings.source, window);
    if (composed == S_OK && Decorate(picture, settings, window))
        return ShowOnScreen(*m_composed.Get(), {Whole(window), Whole(window)});
    m_composed.Reset();
    if (composed != DDERR_SURFACELOST) m_composes = false;
    const HRESULT shown = ShowOnScreen(*m_picture.Get(), {settings.source, Whole(window)});
    if (shown != S_OK) return shown;
    const util::WindowDc screen(m_config.videoWindow);
    if (!screen) return S_OK;
    DrawRegions(screen.Get(), window, picture, settings, m_config.videoWindow);
    DrawObjects(screen.Get(), m_config.overlays.get(), m_config.videoWindow);
    DrawCaptionAndBorder(screen.Get(), window, settings);
    return S_OK;
}

// Brings the picture to the window's size in memory, so that what is drawn over it is never seen to come and
// go. Not every driver stretches into such a surface.
HRESULT DirectDrawPresenter::Compose(const PixelRect& source, PixelSize window) {
    if (!m_composes) return S_FALSE;
    if (!m_composed || !(m_composedSize == window)) {
        DDSCAPS2 caps = {};
        m_picture->GetCaps(&caps);
        DDSURFACEDESC2 description = NewDescription();
        description.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT;
        description.dwWidth = static_cast<DWORD>(window.width);
        description.dwHeight = static_cast<DWORD>(window.height);
        description.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | (caps.dwCaps & DDSCAPS_VIDEOMEMORY);
        const HRESULT created = CreateSurface(description, m_composed);
        if (FAILED(created)) return created;
        m_composedSize = window;
    }
    RECT from = ToRect(WholePairs(source, m_pictureSize));
    RECT to = ToRect(Whole(window));
    return m_composed->Blt(&to, m_picture.Get(), &from, DDBLT_WAIT, nullptr);
}

bool DirectDrawPresenter::Decorate(const Picture& picture, const PictureView::Settings& settings,
                                   PixelSize window) {
    const bool objectsOver =
        m_objects.Follow(window) && !HasRegions(picture) && PutObjectsOver();  // regions lie below them
    if (objectsOver && !settings.caption && !settings.border) return true;
    const SurfaceDc dc(*m_composed.Get());
    if (!dc) return false;
    if (!objectsOver) {
        DrawRegions(dc.Get(), window, picture, settings, m_config.videoWindow);
        DrawObjects(dc.Get(), m_config.overlays.get(), m_config.videoWindow);
    }
    DrawCaptionAndBorder(dc.Get(), window, settings);
    return true;
}

// The objects' pixels, in a surface that has them as our memory has.
bool DirectDrawPresenter::PutObjectsOver() {
    DDSURFACEDESC2 locked = NewDescription();
    if (FAILED(m_composed->Lock(nullptr, &locked, DDLOCK_WAIT, nullptr))) return false;
    const DDPIXELFORMAT& format = locked.ddpfPixelFormat;
    const bool fits = locked.lpSurface && (format.dwFlags & DDPF_RGB) != 0 && format.dwRGBBitCount == 32 &&
                      format.dwBBitMask == 0xFF;
    if (fits)
        m_objects.Compose({static_cast<std::uint8_t*>(locked.lpSurface), locked.lPitch, m_composedSize.width,
                           m_composedSize.height});
    m_composed->Unlock(nullptr);
    return fits;
}

// ---- Failures

// What is lost comes back, perhaps at once; the next picture finds out.
void DirectDrawPresenter::NoteFailure(HRESULT failure) {
    const bool lost = m_surfaceLost || m_displayChanged;
    m_retryAt = m_milliseconds() + (lost && m_failures == 0 ? 0 : kRetryMs);
    if (m_failures++ == 0 || !lost) LogGivingUp(failure);
    if (!lost) m_failed = true;
}

HRESULT DirectDrawPresenter::PresentByGdi(const Picture& picture) try {
    if (!m_stopgap) m_stopgap = std::make_unique<GdiPresenter>(m_config);
    return m_stopgap->Present(picture);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

// ---- DirectDraw's objects

BOOL CALLBACK DirectDrawPresenter::DDEnumCallbackEx(GUID* guid, char* description, char* name, void* context,
                                                    HMONITOR monitor) {
    try {
        EnumDDrawDevice device;
        if (guid)
            device.guid = *guid;
        else
            device.isDefault = true;
        device.description = description ? description : "";
        device.driverName = name ? name : "";
        device.monitor = monitor;
        NORIX_LOG("CDecoder::DDEnumCallbackEx", 0, "DDEnumCallbackEx(), desc = %s, name = %s, hm = 0x%08x",
                  device.description.c_str(), device.driverName.c_str(),
                  static_cast<unsigned>(reinterpret_cast<UINT_PTR>(monitor)));
        static_cast<DirectDrawPresenter*>(context)->m_devices.push_back(std::move(device));
        return DDENUMRET_OK;
    } catch (...) {  // nothing may pass through the system's frames
        return DDENUMRET_CANCEL;
    }
}

HRESULT DirectDrawPresenter::InitializeDirectDraw(int width, int height) {
    ReleaseAll();
    m_directDraw.EnumerateEx(DDEnumCallbackEx, this,
                             DDENUM_ATTACHEDSECONDARYDEVICES | DDENUM_NONDISPLAYDEVICES);
    // Its failure counts only once there is a window to build for.
    m_directDraw.CreateEx(nullptr, reinterpret_cast<void**>(m_default.GetAddressOf()));
    if (!IsWindow(m_config.notifyWindow)) return S_OK;

    const CMonitor monitor = m_monitors.NearestTo(m_config.notifyWindow);
    HRESULT result = CreateDevice(monitor);
    if (SUCCEEDED(result)) {
        m_monitor = monitor.Handle();
        result = CreateSurfaces(width, height);
    }
    if (FAILED(result)) ReleaseAll();
    return result;
}

HRESULT DirectDrawPresenter::CreateDevice(const CMonitor& monitor) {
    const auto device =
        std::find_if(m_devices.begin(), m_devices.end(),
                     [&](const EnumDDrawDevice& candidate) { return candidate.monitor == monitor.Handle(); });
    const bool listed = device != m_devices.end();
    const bool monitorsOwn = listed && !device->isDefault;
    const HRESULT result = m_directDraw.CreateEx(monitorsOwn ? &device->guid : nullptr,
                                                 reinterpret_cast<void**>(m_device.GetAddressOf()));
    if (FAILED(result))
        NORIX_LOG("CDecoder::InitializeDirectDraw", 1, "DirectDrawCreateEx(%s), hr = 0x%08x",
                  listed ? device->description.c_str() : "default", static_cast<unsigned>(result));

    // A monitor's own device works in that monitor's coordinates, the default device in those of the virtual
    // screen. For the primary monitor these are the same.
    const bool shifted = monitorsOwn && !monitor.IsPrimary();
    m_origin = shifted ? POINT{monitor.Rect().left, monitor.Rect().top} : POINT{};
    return result;
}

HRESULT DirectDrawPresenter::CreateSurfaces(int width, int height) {
    if (!m_default) return E_FAIL;
    DDSURFACEDESC2 mode = NewDescription();
    HRESULT result = m_default->GetDisplayMode(&mode);
    if (FAILED(result)) return result;

    result = m_device->SetCooperativeLevel(m_config.videoWindow, DDSCL_NORMAL | DDSCL_ALLOWREBOOT);
    if (FAILED(result)) return result;

    DDSURFACEDESC2 description = NewDescription();
    description.dwFlags = DDSD_CAPS;
    description.ddsCaps.dwCaps = DDSCAPS_PRIMARYSURFACE | DDSCAPS_VIDEOMEMORY;
    result = CreateSurface(description, m_primary);
    if (FAILED(result)) return result;
    m_primarySize = {static_cast<int>(mode.dwWidth), static_cast<int>(mode.dwHeight)};
    DDSURFACEDESC2 primary = NewDescription();
    if (SUCCEEDED(m_primary->GetSurfaceDesc(&primary)))
        m_primarySize = {static_cast<int>(primary.dwWidth), static_cast<int>(primary.dwHeight)};

    result = m_device->CreateClipper(0, m_clipper.GetAddressOf(), nullptr);
    if (FAILED(result)) return result;
    result = m_clipper->SetHWnd(0, m_config.videoWindow);
    if (FAILED(result)) return result;
    result = m_primary->SetClipper(m_clipper.Get());
    if (FAILED(result)) return result;

    description = NewDescription();
    description.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT;
    description.dwWidth = static_cast<DWORD>(width);
    description.dwHeight = static_cast<DWORD>(height);
    description.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_VIDEOMEMORY;
    if (m_config.decoderKind == kMpeg4 || m_config.decoderKind == kH264 || m_config.decoderKind == kH265) {
        description.dwFlags |= DDSD_PIXELFORMAT;
        description.ddpfPixelFormat.dwSize = sizeof(description.ddpfPixelFormat);
        description.ddpfPixelFormat.dwFlags = DDPF_FOURCC;
        description.ddpfPixelFormat.dwFourCC = MAKEFOURCC('Y', 'U', 'Y', '2');
    }
    result = CreateSurface(description, m_picture);
    if (SUCCEEDED(result)) m_pictureSize = {width, height};
    return result;
}

HRESULT DirectDrawPresenter::CreateSurface(DDSURFACEDESC2 description,
                                           ComPtr<IDirectDrawSurface7>& surface) const {
    HRESULT result = m_device->CreateSurface(&description, surface.ReleaseAndGetAddressOf(), nullptr);
    if (SUCCEEDED(result)) return result;
    // Drivers without video memory to give, virtual ones above all, refuse the flag but do without it.
    NORIX_LOG("CDecoder::InitializeDirectDraw", 1, "CreateSurface(caps = 0x%08x), hr = 0x%08x",
              static_cast<unsigned>(description.ddsCaps.dwCaps), static_cast<unsigned>(result));
    description.ddsCaps.dwCaps &= ~static_cast<DWORD>(DDSCAPS_VIDEOMEMORY);
    result = m_device->CreateSurface(&description, surface.ReleaseAndGetAddressOf(), nullptr);
    if (FAILED(result))
        NORIX_LOG("CDecoder::InitializeDirectDraw", 1, "CreateSurface(caps = 0x%08x), hr = 0x%08x",
                  static_cast<unsigned>(description.ddsCaps.dwCaps), static_cast<unsigned>(result));
    return result;
}

void DirectDrawPresenter::ReleaseAll() {
    m_composed.Reset();
    m_composes = true;
    m_picture.Reset();
    m_primary.Reset();
    m_clipper.Reset();
    m_device.Reset();
    m_default.Reset();
    m_devices.clear();
    m_monitor = nullptr;
    m_pictureSize = {};
}

// A device shows its own monitor, the default one often no more than the primary monitor.
bool DirectDrawPresenter::ReachesBeyondDevice(PixelSize window) const {
    POINT corner = {};
    ClientToScreen(m_config.videoWindow, &corner);
    const PixelRect visible =
        Intersect(Offset(Whole(window), corner.x, corner.y), m_monitors.VirtualScreen());
    return !(Intersect(visible, Offset(Whole(m_primarySize), m_origin.x, m_origin.y)) == visible);
}

// Part of a surface over part of the window.
HRESULT DirectDrawPresenter::ShowOnScreen(IDirectDrawSurface7& surface, const Stretch& inWindow) {
    POINT corner = {};
    ClientToScreen(m_config.videoWindow, &corner);
    const PixelRect target = Offset(inWindow.target, corner.x - m_origin.x, corner.y - m_origin.y);
    // The clipper keeps to the window's visible part, but some drivers refuse a target that leaves the
    // surface.
    Stretch stretch = ClipStretch({inWindow.source, target}, Whole(m_primarySize));
    if (stretch.IsEmpty()) return S_OK;  // nothing of the window is on this monitor
    if (&surface == m_picture.Get()) stretch.source = WholePairs(stretch.source, m_pictureSize);

    if (m_config.waitForVerticalBlank) m_device->WaitForVerticalBlank(DDWAITVB_BLOCKBEGIN, nullptr);
    RECT from = ToRect(stretch.source);
    RECT to = ToRect(stretch.target);
    const HRESULT result = m_primary->Blt(&to, &surface, &from, DDBLT_WAIT, nullptr);
    if (result == DDERR_SURFACELOST) {
        m_primary->Restore();
        return HandleLoss(result, m_pictureSize);
    }
    return result;
}

// Makes sure that surfaces exist for this picture's size on the monitor that shows the control.
HRESULT DirectDrawPresenter::FollowMonitor(PixelSize picture) {
    const bool moved = m_picture && IsWindow(m_config.notifyWindow) &&
                       m_monitors.NearestTo(m_config.notifyWindow).Handle() != m_monitor;
    if (m_picture && m_pictureSize == picture && !moved) return S_OK;
    const HRESULT result = Rebuild(picture);
    return result == S_FALSE ? S_OK : result;  // what is new is not lost
}

// S_FALSE when the surfaces had to be rebuilt, which costs this picture.
HRESULT DirectDrawPresenter::CopyToSurface(const Picture& picture) {
    DDSURFACEDESC2 locked = NewDescription();
    const HRESULT result = m_picture->Lock(nullptr, &locked, DDLOCK_WAIT, nullptr);
    if (FAILED(result)) return HandleLoss(result, picture.size);
    if (!locked.lpSurface) {
        m_surfaceLost = true;
        m_picture->Unlock(nullptr);
        return E_FAIL;
    }
    if (m_surfaceLost || m_displayChanged) {
        m_picture->Unlock(nullptr);
        return Rebuild(picture.size);
    }
    const std::size_t rowBytes = static_cast<std::size_t>(
        std::min<LONG>(codec::RowBytes(codec::PixelFormat::kYuy2, picture.size.width), locked.lPitch));
    auto* to = static_cast<std::uint8_t*>(locked.lpSurface);
    const std::uint8_t* from = picture.data;
    for (int row = 0; row < picture.size.height; ++row, from += picture.stride, to += locked.lPitch)
        std::memcpy(to, from, rowBytes);
    m_picture->Unlock(nullptr);
    return S_OK;
}

// After a change of display mode new surfaces are made at once, so that one picture is lost. Otherwise the
// surface is restored, and made anew when the next picture finds it usable again.
HRESULT DirectDrawPresenter::HandleLoss(HRESULT loss, PixelSize picture) {
    m_picture->Restore();
    m_surfaceLost = true;
    return m_displayChanged ? Rebuild(picture) : loss;
}

HRESULT DirectDrawPresenter::Rebuild(PixelSize picture) {
    const bool displayChanged = m_displayChanged.exchange(false);
    const HRESULT result = InitializeDirectDraw(picture.width, picture.height);
    if (FAILED(result)) {
        if (displayChanged) m_displayChanged = true;
        return result;
    }
    m_surfaceLost = false;
    return S_FALSE;
}

}  // namespace norix
