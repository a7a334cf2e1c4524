#include "render/present/Monitors.h"

namespace norix {
namespace {

template <typename Function>
void LookUp(HMODULE module, const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

using Handles = std::vector<HMONITOR>;

BOOL CALLBACK CollectMonitor(HMONITOR handle, HDC, LPRECT, LPARAM handles) {
    try {
        reinterpret_cast<Handles*>(handles)->push_back(handle);
        return TRUE;
    } catch (...) {  // nothing may pass through the system's frames
        return FALSE;
    }
}

}  // namespace

bool MonitorFunctions::Complete() const {
    return getSystemMetrics && monitorFromWindow && monitorFromRect && monitorFromPoint &&
           enumDisplayMonitors && getMonitorInfo && enumDisplayDevices;
}

MonitorFunctions MonitorFunctions::FromUser32() {
    MonitorFunctions found;
    const HMODULE user32 = GetModuleHandleW(L"USER32");
    if (!user32) return found;
    LookUp(user32, "GetSystemMetrics", found.getSystemMetrics);
    LookUp(user32, "MonitorFromWindow", found.monitorFromWindow);
    LookUp(user32, "MonitorFromRect", found.monitorFromRect);
    LookUp(user32, "MonitorFromPoint", found.monitorFromPoint);
    LookUp(user32, "EnumDisplayMonitors", found.enumDisplayMonitors);
    LookUp(user32, "GetMonitorInfoA", found.getMonitorInfo);
    LookUp(user32, "EnumDisplayDevicesA", found.enumDisplayDevices);
    return found;
}

CMonitors::CMonitors(const MonitorFunctions& functions) : m_functions(functions) {
    if (!m_functions.Complete()) m_functions = {};
}

CMonitor CMonitors::NearestTo(HWND window) const {
    if (!m_functions.monitorFromWindow) return OnlyScreen();
    return Describe(m_functions.monitorFromWindow(window, MONITOR_DEFAULTTONEAREST));
}

CMonitor CMonitors::NearestTo(const RECT& rect) const {
    if (!m_functions.monitorFromRect) return OnlyScreen();
    return Describe(m_functions.monitorFromRect(&rect, MONITOR_DEFAULTTONEAREST));
}

CMonitor CMonitors::NearestTo(const POINT& point) const {
    if (!m_functions.monitorFromPoint) return OnlyScreen();
    return Describe(m_functions.monitorFromPoint(point, MONITOR_DEFAULTTONEAREST));
}

std::vector<CMonitor> CMonitors::All() const {
    if (!m_functions.enumDisplayMonitors) return {OnlyScreen()};
    Handles handles;
    m_functions.enumDisplayMonitors(nullptr, nullptr, CollectMonitor, reinterpret_cast<LPARAM>(&handles));
    std::vector<CMonitor> monitors;
    for (const HMONITOR handle : handles)
        monitors.push_back(Describe(handle));
    return monitors;
}

PixelRect CMonitors::VirtualScreen() const {
    if (!m_functions.getSystemMetrics) return OnlyScreen().Rect();
    const int left = m_functions.getSystemMetrics(SM_XVIRTUALSCREEN);
    const int top = m_functions.getSystemMetrics(SM_YVIRTUALSCREEN);
    return {left, top, left + m_functions.getSystemMetrics(SM_CXVIRTUALSCREEN),
            top + m_functions.getSystemMetrics(SM_CYVIRTUALSCREEN)};
}

CMonitor CMonitors::Describe(HMONITOR handle) const {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    // A monitor unplugged since the handle was obtained has no description any more.
    if (!m_functions.getMonitorInfo(handle, &info)) return OnlyScreen();
    const RECT& rect = info.rcMonitor;
    return {handle,
            (info.dwFlags & MONITORINFOF_PRIMARY) != 0,
            {static_cast<int>(rect.left), static_cast<int>(rect.top), static_cast<int>(rect.right),
             static_cast<int>(rect.bottom)}};
}

CMonitor CMonitors::OnlyScreen() {
    return {nullptr, true, {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}};
}

}  // namespace norix
