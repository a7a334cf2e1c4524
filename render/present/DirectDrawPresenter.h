#pragma once

#include <windows.h>

#include <ddraw.h>
#include <wrl/client.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "render/overlay/OverlayLayer.h"
#include "render/present/DirectDrawFunctions.h"
#include "render/present/GdiPresenter.h"
#include "render/present/Monitors.h"
#include "render/present/Presenter.h"

namespace norix {

/// Presents YUY2 pictures with DirectDraw 7: copied into an off-screen surface and stretched from there onto
/// the primary surface, clipped to the window. Where something lies over the picture, both are put together
/// in a surface of the window's size first, or on the screen where the driver can't do that. The surfaces
/// live on the device of the monitor that shows the control, and are rebuilt when it moves to another, when
/// they are lost and when the display mode changes. Does not rotate.
///
/// A picture that can't be shown so, and one in a window that reaches beyond the surfaces' monitor, is shown
/// by GDI. After a loss DirectDraw is tried again, once a second at most; after any other failure it is given
/// up.
class DirectDrawPresenter final : public Presenter {
  public:
    /// All but the first are for tests.
    explicit DirectDrawPresenter(const PresenterConfig& config,
                                 const DirectDrawFunctions& directDraw = DirectDrawFunctions::System(),
                                 const CMonitors& monitors = CMonitors(),
                                 DWORD(WINAPI* milliseconds)() = GetTickCount);
    ~DirectDrawPresenter() override;

    codec::PixelFormat Format() const override { return codec::PixelFormat::kYuy2; }
    HRESULT Initialize(int width, int height) override;
    HRESULT Present(const Picture& picture) override;
    void DisplayChanged() override;
    bool IsSeen() const override;
    bool HasFailed() const override { return m_failed; }
    std::shared_ptr<PictureSink> Substitute() override;

  private:
    struct EnumDDrawDevice {
        GUID guid = {};
        bool isDefault = false;  // known by no GUID
        std::string description;
        std::string driverName;
        HMONITOR monitor = nullptr;
    };

    static BOOL CALLBACK DDEnumCallbackEx(GUID* guid, char* description, char* name, void* context,
                                          HMONITOR monitor);

    HRESULT InitializeDirectDraw(int width, int height);
    HRESULT CreateDevice(const CMonitor& monitor);
    HRESULT CreateSurfaces(int width, int height);
    HRESULT CreateSurface(DDSURFACEDESC2 description,
                          Microsoft::WRL::ComPtr<IDirectDrawSurface7>& surface) const;
    void ReleaseAll();

    HRESULT PresentByDirectDraw(const Picture& picture);
    HRESULT FollowMonitor(PixelSize picture);
    bool ReachesBeyondDevice(PixelSize window) const;
    HRESULT CopyToSurface(const Picture& picture);
    HRESULT ShowDecorated(const Picture& picture, const PictureView::Settings& settings, PixelSize window);
    HRESULT Compose(const PixelRect& source, PixelSize window);
    bool Decorate(const Picture& picture, const PictureView::Settings& settings, PixelSize window);
    bool PutObjectsOver();
    HRESULT ShowOnScreen(IDirectDrawSurface7& surface, const Stretch& inWindow);

    HRESULT HandleLoss(HRESULT loss, PixelSize picture);
    HRESULT Rebuild(PixelSize picture);
    void NoteFailure(HRESULT failure);
    HRESULT PresentByGdi(const Picture& picture);

    const PresenterConfig m_config;
    const DirectDrawFunctions m_directDraw;
    const CMonitors m_monitors;
    DWORD(WINAPI* const m_milliseconds)();

    std::atomic<bool> m_displayChanged{false};
    std::atomic<bool> m_failed{false};

    // Display thread; the decode thread while that one is held.
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
    Microsoft::WRL::ComPtr<IDirectDrawSurface7> m_composed;  // a picture with what lies over it
    PixelSize m_composedSize;
    bool m_composes = true;  // until it is refused
    OverlayLayer m_objects;
    int m_failures = 0;   // in a row
    DWORD m_retryAt = 0;  // while there are any
    std::unique_ptr<GdiPresenter> m_stopgap;
};

}  // namespace norix
