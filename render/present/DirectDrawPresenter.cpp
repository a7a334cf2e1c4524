#include "render/present/DirectDrawPresenter.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>

#include "codec/ColorConvert.h"
#include "render/overlay/PictureDecoration.h"
#include "render/present/DibCanvas.h"
#include "render/present/PictureBlit.h"
#include "util/Handles.h"
#include "util/Log.h"

namespace norix {
namespace {

using Microsoft::WRL::ComPtr;

constexpr std::uint32_t kMpeg4 = 1;
constexpr std::uint32_t kH264 = 4;
constexpr std::uint32_t kH265 = 8;

// What the window thread may wait for the display thread when it wants the last picture.
constexpr auto kMoment = std::chrono::milliseconds(100);

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
                                         const CMonitors& monitors)
    : m_config(config), m_directDraw(directDraw), m_monitors(monitors) {}

DirectDrawPresenter::~DirectDrawPresenter() {
    ReleaseAll();
}

HRESULT DirectDrawPresenter::Initialize(int width, int height) {
    const std::lock_guard lock(m_lock);
    return InitializeDirectDraw(width, height);
}

HRESULT DirectDrawPresenter::Present(const Picture& picture) {
    if (!picture.data || picture.size.IsEmpty()) return E_INVALIDARG;
    PictureView::Settings settings = m_config.view->Current(picture.size);
    settings.rotation = Rotation::k0;
    PixelSize window;
    {
        const std::lock_guard lock(m_lock);
        const HRESULT filled = Fill(picture, settings, window);
        // New surfaces cost this picture on the screen, but not what is painted before the next one.
        if (filled == S_FALSE && m_picture && !m_filled && CopyToSurface(picture) == S_OK)
            m_lastSource = settings.source;
        if (filled != S_OK) return filled;
        if (!HasDecoration(picture, settings, m_config.overlays.get()))
            return ShowOnScreen(*m_picture.Get(), {settings.source, Whole(window)});
    }
    return ShowDecorated(picture, settings, window);
}

// The surfaces stay as they are meanwhile: they are made by this thread, or while it is held.
HRESULT DirectDrawPresenter::ShowDecorated(const Picture& picture, const PictureView::Settings& settings,
                                           PixelSize window) {
    const auto decorate = [&](HDC dc) {
        DrawOverPicture(dc, window, picture, settings, m_config.overlays.get(), m_config.videoWindow);
    };
    HDC dc = nullptr;
    HRESULT composed;
    {
        const std::lock_guard lock(m_lock);
        composed = Compose(settings.source, window);
        if (composed == S_OK) composed = m_composed->GetDC(&dc);
    }
    if (composed == S_OK) {
        decorate(dc);
        m_composed->ReleaseDC(dc);
        const std::lock_guard lock(m_lock);
        return ShowOnScreen(*m_composed.Get(), {Whole(window), Whole(window)});
    }
    m_composed.Reset();
    if (composed != DDERR_SURFACELOST) m_composes = false;
    {
        const std::lock_guard lock(m_lock);
        const HRESULT shown = ShowOnScreen(*m_picture.Get(), {settings.source, Whole(window)});
        if (shown != S_OK) return shown;
    }
    const util::WindowDc screen(m_config.videoWindow);
    if (screen) decorate(screen.Get());
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

void DirectDrawPresenter::DisplayChanged() {
    m_displayChanged = true;
}

bool DirectDrawPresenter::DrawOwn(HDC dc, const RECT& target) try {
    std::unique_lock lock(m_lock, std::defer_lock);
    if (!lock.try_lock_for(kMoment) || !m_filled) return false;

    const int stride = DibRowBytes(m_pictureSize.width);
    std::vector<std::uint8_t> bgr(static_cast<std::size_t>(stride) * m_pictureSize.height);
    DDSURFACEDESC2 locked = NewDescription();
    if (FAILED(m_picture->Lock(nullptr, &locked, DDLOCK_WAIT | DDLOCK_READONLY, nullptr))) return false;
    const codec::Status converted =
        codec::ConvertYuy2ToBgr24(static_cast<const std::uint8_t*>(locked.lpSurface), locked.lPitch,
                                  m_pictureSize.width, m_pictureSize.height, bgr.data(), stride);
    m_picture->Unlock(nullptr);
    const PixelRect source = m_lastSource;
    const PixelSize size = m_pictureSize;
    lock.unlock();
    if (converted != codec::Status::kOk) return false;

    // As the window shows it: at its size, with what lies over the picture.
    RECT client;
    if (!GetClientRect(m_config.videoWindow, &client) || IsRectEmpty(&client)) return false;
    const PixelSize window{static_cast<int>(client.right), static_cast<int>(client.bottom)};
    const DibCanvas canvas(window);
    const BgrPart part{bgr.data() + static_cast<std::size_t>(source.top) * stride,
                       size.width,
                       source.left,
                       {source.Width(), source.Height()}};
    if (!canvas || !StretchBgr(canvas.Dc(), Whole(window), part)) return false;
    Picture picture;
    picture.size = size;
    PictureView::Settings settings = m_config.view->Current(size);
    settings.rotation = Rotation::k0;
    DrawOverPicture(canvas.Dc(), window, picture, settings, m_config.overlays.get(), m_config.videoWindow);
    return canvas.CopyTo(dc, target);
} catch (const std::bad_alloc&) {
    return false;
}

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
    m_filled = false;
}

// Puts the picture into its surface, and tells the window's size.
HRESULT DirectDrawPresenter::Fill(const Picture& picture, const PictureView::Settings& settings,
                                  PixelSize& window) {
    RECT client;
    if (!GetClientRect(m_config.videoWindow, &client) || IsRectEmpty(&client)) return S_FALSE;
    window = {static_cast<int>(client.right), static_cast<int>(client.bottom)};

    HRESULT result = FollowMonitor(picture.size);
    if (FAILED(result)) return result;
    if (!m_picture) return S_FALSE;
    result = CopyToSurface(picture);
    if (result == S_OK) m_lastSource = settings.source;
    return result;
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
    return InitializeDirectDraw(picture.width, picture.height);
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
    m_filled = true;
    return S_OK;
}

// After a change of display mode new surfaces are made at once, so that one picture is lost. Otherwise the
// surface is restored, and made anew when the next picture finds it usable again.
HRESULT DirectDrawPresenter::HandleLoss(HRESULT loss, PixelSize picture) {
    m_picture->Restore();
    m_surfaceLost = true;
    m_filled = false;
    return m_displayChanged ? Rebuild(picture) : loss;
}

HRESULT DirectDrawPresenter::Rebuild(PixelSize picture) {
    m_surfaceLost = false;
    const bool displayChanged = m_displayChanged.exchange(false);
    const HRESULT result = InitializeDirectDraw(picture.width, picture.height);
    if (SUCCEEDED(result)) return S_FALSE;
    if (displayChanged) m_displayChanged = true;
    return result;
}

}  // namespace norix
