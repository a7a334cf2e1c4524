#pragma once

#include <windows.h>

#include <ddraw.h>
#include <wrl/client.h>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "render/present/DirectDrawFunctions.h"
#include "render/present/Monitors.h"
#include "render/present/Presenter.h"

namespace norix {

/// Presents YUY2 pictures with DirectDraw 7: copied into an off-screen surface and stretched from there onto
/// the primary surface, clipped to the window. Where something lies over the picture, both are put together
/// in a surface of the window's size first, or on the screen where the driver can't do that. The surfaces
/// live on the device of the monitor that shows the control, and are rebuilt when it moves to another, when
/// they are lost and when the display mode changes. Does not rotate.
class DirectDrawPresenter final : public Presenter {
  public:
    /// The last two are for tests.
    explicit DirectDrawPresenter(const PresenterConfig& config,
                                 const DirectDrawFunctions& directDraw = DirectDrawFunctions::System(),
                                 const CMonitors& monitors = CMonitors());
    ~DirectDrawPresenter() override;

    codec::PixelFormat Format() const override { return codec::PixelFormat::kYuy2; }
    HRESULT Initialize(int width, int height) override;
    HRESULT Present(const Picture& picture) override;
    void DisplayChanged() override;

  private:
    bool DrawOwn(HDC dc, const RECT& target) override;

    struct EnumDDrawDevice {
        GUID guid = {};
        bool isDefault = false;  // known by no GUID
        std::string description;
        std::string driverName;
        HMONITOR monitor = nullptr;
    };

    static BOOL CALLBACK DDEnumCallbackEx(GUID* guid, char* description, char* name, void* context,
                                          HMONITOR monitor);

    /// With m_lock held:
    HRESULT InitializeDirectDraw(int width, int height);
    HRESULT CreateDevice(const CMonitor& monitor);
    HRESULT CreateSurfaces(int width, int height);
    HRESULT CreateSurface(DDSURFACEDESC2 description,
                          Microsoft::WRL::ComPtr<IDirectDrawSurface7>& surface) const;
    void ReleaseAll();
    HRESULT Fill(const Picture& picture, const PictureView::Settings& settings, PixelSize& window);
    HRESULT ShowOnScreen(IDirectDrawSurface7& surface, const Stretch& inWindow);
    HRESULT FollowMonitor(PixelSize picture);
    HRESULT CopyToSurface(const Picture& picture);
    HRESULT HandleLoss(HRESULT loss, PixelSize picture);
    HRESULT Rebuild(PixelSize picture);
    HRESULT Compose(const PixelRect& source, PixelSize window);
    /// Without it, since others' code draws:
    HRESULT ShowDecorated(const Picture& picture, const PictureView::Settings& settings, PixelSize window);

    const PresenterConfig m_config;
    const DirectDrawFunctions m_directDraw;
    const CMonitors m_monitors;

    std::atomic<bool> m_displayChanged{false};

    /// Held while surfaces are built, filled and shown. Making DirectDraw objects can send messages to the
    /// window, so the window thread never waits for it without a limit.
    std::timed_mutex m_lock;

    // guarded by m_lock
    Microsoft::WRL::ComPtr<IDirectDraw7> m_default;  // the default device: tells the display mode
    Microsoft::WRL::ComPtr<IDirectDraw7> m_device;   // that of the control's monitor
    Microsoft::WRL::ComPtr<IDirectDrawSurface7> m_primary;
    Microsoft::WRL::ComPtr<IDirectDrawSurface7> m_picture;
    Microsoft::WRL::ComPtr<IDirectDrawClipper> m_clipper;
    std::vector<EnumDDrawDevice> m_devices;
    HMONITOR m_monitor = nullptr;  // for which m_device was made
    POINT m_origin = {};           // of the device's coordinates on the virtual screen
    PixelSize m_primarySize;
    PixelSize m_pictureSize;
    bool m_surfaceLost = false;
    bool m_filled = false;   // m_picture holds a picture
    PixelRect m_lastSource;  // the part of it that was shown

    // Display thread; the decode thread while that one is held.
    Microsoft::WRL::ComPtr<IDirectDrawSurface7> m_composed;  // a picture with what lies over it
    PixelSize m_composedSize;
    bool m_composes = true;  // until it is refused
};

}  // namespace norix
