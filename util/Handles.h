#pragma once

// Owners of Win32 resources: one kind of resource, one type, closed when the owner goes. All are movable,
// none copyable, none throws; an owner whose creation failed is empty (false), and the reason is in
// GetLastError() where the system gives one. Not thread-safe: each owner belongs to one thread at a time.

#include <windows.h>

#include <oleauto.h>

#include <utility>

namespace util {

/// Traits: the type Value, None() for "owns nothing", Close(Value).
template <class Traits>
class UniqueResource {
  public:
    using Value = typename Traits::Value;

    UniqueResource() noexcept = default;
    explicit UniqueResource(Value value) noexcept : m_value(value) {}
    UniqueResource(UniqueResource&& other) noexcept : m_value(other.Release()) {}
    UniqueResource& operator=(UniqueResource&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~UniqueResource() { Reset(); }

    Value Get() const noexcept { return m_value; }
    explicit operator bool() const noexcept { return m_value != Traits::None(); }

    /// Hands the resource to the caller.
    Value Release() noexcept { return std::exchange(m_value, Traits::None()); }
    void Reset(Value value = Traits::None()) noexcept {
        if (m_value == value) return;
        const Value old = std::exchange(m_value, value);
        if (old != Traits::None()) Traits::Close(old);
    }
    /// For functions that return the resource through a pointer. What was owned before is closed.
    Value* Put() noexcept {
        Reset();
        return &m_value;
    }

  private:
    Value m_value = Traits::None();
};

namespace detail {

template <class T>
struct NullTraits {
    using Value = T;
    static T None() noexcept { return nullptr; }
};

struct HandleTraits : NullTraits<HANDLE> {
    static void Close(HANDLE handle) noexcept { CloseHandle(handle); }
};
struct FileTraits {
    using Value = HANDLE;
    static HANDLE None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(HANDLE handle) noexcept { CloseHandle(handle); }
};
struct RegKeyTraits : NullTraits<HKEY> {
    static void Close(HKEY key) noexcept { RegCloseKey(key); }
};
struct ModuleTraits : NullTraits<HMODULE> {
    static void Close(HMODULE module) noexcept { FreeLibrary(module); }
};
struct GlobalTraits : NullTraits<HGLOBAL> {
    static void Close(HGLOBAL memory) noexcept { GlobalFree(memory); }
};
struct BstrTraits : NullTraits<BSTR> {
    static void Close(BSTR text) noexcept { SysFreeString(text); }
};
struct MemoryDcTraits : NullTraits<HDC> {
    static void Close(HDC dc) noexcept { DeleteDC(dc); }
};
template <class T>
struct GdiTraits : NullTraits<T> {
    static void Close(T object) noexcept { DeleteObject(object); }
};

}  // namespace detail

using UniqueHandle = UniqueResource<detail::HandleTraits>;  // kernel objects whose "none" is NULL
using UniqueFile = UniqueResource<detail::FileTraits>;  // kernel objects whose "none" is INVALID_HANDLE_VALUE
using RegKey = UniqueResource<detail::RegKeyTraits>;
using UniqueModule = UniqueResource<detail::ModuleTraits>;
using UniqueGlobal = UniqueResource<detail::GlobalTraits>;  // from GlobalAlloc
using UniqueBstr = UniqueResource<detail::BstrTraits>;
using UniqueMemoryDc = UniqueResource<detail::MemoryDcTraits>;  // from CreateDC, CreateCompatibleDC
/// GDI objects must not be selected into a device context when they go: see SelectGuard.
using UniqueBitmap = UniqueResource<detail::GdiTraits<HBITMAP>>;
using UniqueBrush = UniqueResource<detail::GdiTraits<HBRUSH>>;
using UniqueFont = UniqueResource<detail::GdiTraits<HFONT>>;
using UniquePen = UniqueResource<detail::GdiTraits<HPEN>>;
using UniqueRegion = UniqueResource<detail::GdiTraits<HRGN>>;

/// A window's device context from GetDC; a null window means the screen. To be released by the thread that
/// made it.
class WindowDc {
  public:
    explicit WindowDc(HWND window) noexcept : m_window(window), m_dc(GetDC(window)) {}
    ~WindowDc() {
        if (m_dc) ReleaseDC(m_window, m_dc);
    }
    WindowDc(const WindowDc&) = delete;
    WindowDc& operator=(const WindowDc&) = delete;

    HDC Get() const noexcept { return m_dc; }
    explicit operator bool() const noexcept { return m_dc != nullptr; }

  private:
    HWND m_window;
    HDC m_dc;
};

/// Selects a bitmap, brush, font or pen for a scope and puts the previous one back. Declare it after the
/// owners of both. Not for regions, which SelectObject copies.
class SelectGuard {
  public:
    SelectGuard(HDC dc, HGDIOBJ object) noexcept : m_dc(dc), m_previous(SelectObject(dc, object)) {}
    ~SelectGuard() {
        if (m_previous) SelectObject(m_dc, m_previous);
    }
    SelectGuard(const SelectGuard&) = delete;
    SelectGuard& operator=(const SelectGuard&) = delete;

    explicit operator bool() const noexcept { return m_previous != nullptr; }

  private:
    HDC m_dc;
    HGDIOBJ m_previous;
};

/// Locks global memory for a scope and gives its address; false when the memory could not be locked.
template <class T>
class GlobalLockGuard {
  public:
    explicit GlobalLockGuard(HGLOBAL memory) noexcept
        : m_memory(memory), m_address(static_cast<T*>(GlobalLock(memory))) {}
    ~GlobalLockGuard() {
        if (m_address) GlobalUnlock(m_memory);
    }
    GlobalLockGuard(const GlobalLockGuard&) = delete;
    GlobalLockGuard& operator=(const GlobalLockGuard&) = delete;

    T* Get() const noexcept { return m_address; }
    explicit operator bool() const noexcept { return m_address != nullptr; }

  private:
    HGLOBAL m_memory;
    T* m_address;
};

/// An unnamed event object, not signalled at first. Set, Reset and Wait may be called from any thread.
class Event {
  public:
    enum class Kind { kAutoReset, kManualReset };

    explicit Event(Kind kind) noexcept
        : m_handle(CreateEventW(nullptr, kind == Kind::kManualReset, FALSE, nullptr)) {}

    HANDLE Get() const noexcept { return m_handle.Get(); }
    explicit operator bool() const noexcept { return static_cast<bool>(m_handle); }

    void Set() noexcept { SetEvent(m_handle.Get()); }
    void Reset() noexcept { ResetEvent(m_handle.Get()); }
    /// True when the event was signalled within the time; INFINITE waits for ever.
    bool Wait(DWORD milliseconds) const noexcept {
        return WaitForSingleObject(m_handle.Get(), milliseconds) == WAIT_OBJECT_0;
    }

  private:
    UniqueHandle m_handle;
};

}  // namespace util
