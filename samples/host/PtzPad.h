#pragma once

#include <windows.h>

#include <comutil.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "EventSink.h"
#include "PtzQueue.h"

/// The pad that moves the camera: arrows and zoom that move while they are held, by mouse or by key, speed,
/// presets. What the camera can't do is grey.
///
/// The control's methods return when the camera has answered. So that a slow camera is not told everything
/// that happened while it was thinking, nothing is sent from inside the handling of a key or a button: it
/// goes into a queue that a timer empties, and timers wait until there is no input left.
class PtzPad {
  public:
    using Call = std::function<_variant_t(const std::wstring& method, std::vector<_variant_t> arguments)>;
    using Get = std::function<std::wstring(const std::wstring& property)>;
    using Say = std::function<void(const std::wstring&)>;

    static constexpr SIZE kSize{294, 150};

    /// Call and Get throw AutomationError.
    PtzPad(Call call, Get get, Say say)
        : call_(std::move(call)), get_(std::move(get)), say_(std::move(say)) {}
    PtzPad(const PtzPad&) = delete;
    PtzPad& operator=(const PtzPad&) = delete;

    /// The window belongs to its parent. Throws _com_error.
    void Create(HWND parent, HFONT font);
    HWND Window() const { return window_; }
    /// Whether there is room for it. A hidden one asks the camera nothing by itself.
    void Show(bool show);

    /// Commands; those of movement last until Stop.
    void TiltUp() { Begin(L"up"); }
    void TiltDown() { Begin(L"down"); }
    void PanLeft() { Begin(L"left"); }
    void PanRight() { Begin(L"right"); }
    void ZoomIn() { Begin(L"zin"); }
    void ZoomOut() { Begin(L"zout"); }
    void Stop();
    /// Home is the first preset.
    void GoHome() { Add({PtzOrder::Kind::Go, {}, 1}); }
    void GoToPreset();
    void SavePreset();
    void ListPresets() { Add({PtzOrder::Kind::List}); }
    /// Gives the pad the keyboard: arrows, + and -, Home.
    void Focus() const;

    /// The keyboard goes elsewhere without the focus, into a menu: what is held moves no more.
    void LetGo();

    /// All events pass through here.
    void OnEvent(const Event& event);
    /// The control is about to be told of another camera: what moves is stopped, and nothing else sent.
    void StopNow();
    /// The control is about to go: what moves is stopped, the rest forgotten.
    void Finish();

  private:
    struct Button {
        const wchar_t* text;
        RECT place;
        const wchar_t* move;  // while it is held; null: run when clicked
        void (PtzPad::*run)();
        bool zoom;  // of the lens, not of the head
    };
    static const Button kButtons[];
    enum Field { kFirstField = 100, kSpeed, kPresets, kName, kSpeedText };

    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    static LRESULT CALLBACK ChildProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id,
                                      DWORD_PTR self) noexcept;
    LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam);
    /// What a child does beside its own part.
    void OnChild(HWND child, UINT_PTR id, UINT message, WPARAM wParam, LPARAM lParam);
    void OnKey(HWND child, WPARAM key, bool down);
    HWND CreateChild(const wchar_t* windowClass, const wchar_t* text, DWORD style, const RECT& place, int id,
                     HFONT font);

    void Begin(const wchar_t* move);
    /// Moves until the child is released.
    void Hold(HWND child, const wchar_t* move);
    void Release(HWND child);
    void Add(PtzOrder order);
    void SendNext();
    void Carry(const PtzOrder& order);
    void TakeAbilities(const std::wstring& reply);
    void TakePresets(const std::wstring& names);
    void Enable();
    short Speed() const;
    short Preset() const;
    HWND Child(int id) const { return GetDlgItem(window_, id); }

    Call call_;
    Get get_;
    Say say_;
    HWND window_ = nullptr;
    PtzQueue queue_;
    bool sending_ = false;
    bool moving_ = false;       // the camera was told to move, and not yet to stop
    HWND holder_ = nullptr;     // the button that moves it while it, or a key, is held
    std::vector<WPARAM> keys_;  // arrows that are down
    bool connected_ = false;
    bool asked_ = false;  // what this camera can do
    bool canTurn_ = false;
    bool canZoom_ = false;
    bool canMove_ = false;
};
