#pragma once

#include <windows.h>

#include <vector>

#include "render/present/Geometry.h"

namespace norix {

/// The multi-monitor functions of USER32, looked up by name. They are used together or not at all: a system
/// that lacks one of them is treated as having one monitor.
struct MonitorFunctions {
    int(WINAPI* getSystemMetrics)(int) = nullptr;
    HMONITOR(WINAPI* monitorFromWindow)(HWND, DWORD) = nullptr;
    HMONITOR(WINAPI* monitorFromRect)(LPCRECT, DWORD) = nullptr;
    HMONITOR(WINAPI* monitorFromPoint)(POINT, DWORD) = nullptr;
    BOOL(WINAPI* enumDisplayMonitors)(HDC, LPCRECT, MONITORENUMPROC, LPARAM) = nullptr;
    BOOL(WINAPI* getMonitorInfo)(HMONITOR, LPMONITORINFO) = nullptr;
    BOOL(WINAPI* enumDisplayDevices)(LPCSTR, DWORD, PDISPLAY_DEVICEA, DWORD) = nullptr;

    bool Complete() const;
    static MonitorFunctions FromUser32();
};

/// One monitor, as it was when it was asked for.
class CMonitor {
  public:
    CMonitor(HMONITOR handle, bool primary, const PixelRect& rect)
        : m_handle(handle), m_primary(primary), m_rect(rect) {}

    HMONITOR Handle() const { return m_handle; }  // null on a system without multi-monitor functions
    bool IsPrimary() const { return m_primary; }
    const PixelRect& Rect() const { return m_rect; }  // virtual-screen coordinates

  private:
    HMONITOR m_handle;
    bool m_primary;
    PixelRect m_rect;
};

/// The system's monitors. Keeps nothing but the functions, so that it is always up to date; any thread.
class CMonitors {
  public:
    CMonitors() : CMonitors(MonitorFunctions::FromUser32()) {}
    explicit CMonitors(const MonitorFunctions& functions);

    /// The monitor that shows the largest part of the window, else the one nearest to it.
    CMonitor NearestTo(HWND window) const;
    CMonitor NearestTo(const RECT& rect) const;
    CMonitor NearestTo(const POINT& point) const;

    std::vector<CMonitor> All() const;
    /// What all of them together show, and perhaps more.
    PixelRect VirtualScreen() const;

  private:
    CMonitor Describe(HMONITOR handle) const;
    static CMonitor OnlyScreen();

    MonitorFunctions m_functions;
};

}  // namespace norix
