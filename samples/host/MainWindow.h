#pragma once

#include <windows.h>

#include <wrl/client.h>

#include <deque>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "CommandLine.h"
#include "Container.h"
#include "ControlCalls.h"
#include "EventSink.h"
#include "Log.h"
#include "PictureCommands.h"
#include "PtzPad.h"
#include "RecordCommands.h"
#include "ScriptRunner.h"
#include "TypeInfo.h"

/// The program's exit codes.
enum class ExitCode : int {
    Done = 0,
    NoControl = 1,
    BadCommandLine = 2,
    StepFailed = 3,
    TimeRanOut = 4,
    NoLog = 5,
};

/// The top-level window: menu, address bar, the control, the list of events, the status bar. It also carries
/// out the steps of the command line's script.
class MainWindow {
  public:
    MainWindow(const Options& options, Log& log);
    ~MainWindow();
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    /// Shows the window and handles messages until it is closed.
    ExitCode Run();

  private:
    // One row per command: it becomes a menu item, a button in the address bar where it has a button text,
    // and a keyboard shortcut where it has a key.
    struct Command {
        const wchar_t* menu;
        const wchar_t* text;
        const wchar_t* button;
        BYTE modifiers;  // FCONTROL, FSHIFT, FALT
        WORD key;        // 0: none
        void (MainWindow::*run)();
    };
    static std::span<const Command> Commands();

    void CreateMainWindow();
    void CreateMenuAndShortcuts();
    void CreateChildren();
    HWND CreateChild(const wchar_t* windowClass, const wchar_t* text, DWORD style, int id = 0);
    HWND CreateField(const wchar_t* label, const std::wstring& text, int width, DWORD style = 0);
    int TextWidth(const wchar_t* text) const;
    bool CreateControl();
    void CloseControl();
    void Layout();
    std::vector<RECT> LayOutBar(int width) const;
    void FitToVideo(SIZE video);

    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam);
    void OnCommand(int id);
    void OnTimeUp();
    LRESULT OnNotify(const NMHDR& header);

    void OnEvent(const Event& event);
    void ShowStatus(const Event& event);
    void ShowEntry(const Log::Entry& entry);
    void ShowMessage(const std::wstring& text);

    void Perform(const Action& action);
    void RunCommand(const std::wstring& text);
    void Fail(const std::wstring& what);
    void LeaveWith(ExitCode code);

    /// Commands
    void Exit();
    void Connect();
    void Disconnect();
    void ShowProperties();
    template <void (PictureCommands::*Run)()>
    void OnPicture();
    template <void (PtzPad::*Run)()>
    void OnPad() {
        (pad_.*Run)();
    }
    void FocusPad() { pad_.Focus(); }
    void Record();
    void PickRecordFolder();
    void NextRecordLimit();
    void ShowRecording(const std::wstring& text);

    const Options& options_;
    Log& log_;

    HWND window_ = nullptr;
    HWND pane_ = nullptr;
    HWND events_ = nullptr;
    HWND status_ = nullptr;
    HWND address_ = nullptr;
    HWND user_ = nullptr;
    HWND password_ = nullptr;
    HWND focus_ = nullptr;  // where the keyboard was when the window was last left
    struct BarItem {
        HWND window;
        int width;     // 0: takes what the others leave
        bool isLabel;  // stays with the next one
    };
    std::vector<BarItem> bar_;  // the address bar from left to right
    std::unique_ptr<std::remove_pointer_t<HFONT>, decltype(&DeleteObject)> font_{nullptr, &DeleteObject};
    std::unique_ptr<std::remove_pointer_t<HACCEL>, decltype(&DestroyAcceleratorTable)> shortcuts_{
        nullptr, &DestroyAcceleratorTable};

    ControlInfo info_;
    Microsoft::WRL::ComPtr<Container> container_;
    Microsoft::WRL::ComPtr<EventSink> sink_;
    ControlCalls calls_{[this] { return container_ ? container_->Automation() : nullptr; }, info_, log_};
    ScriptRunner script_;

    PictureCommands picture_{[this](const std::wstring& method, std::vector<_variant_t> arguments) {
                                 return calls_.CallWith(method, std::move(arguments));
                             },
                             [this](const std::wstring& text) { ShowMessage(text); }};

    RecordCommands record_{
        [this](const std::wstring& method, std::vector<_variant_t> arguments) {
            return calls_.CallWith(method, std::move(arguments));
        },
        [this](const std::wstring& name, const std::wstring& value) { calls_.Set(name, value); },
        [this](const std::wstring& name) { return calls_.Text(name); },
        [this](const std::wstring& text) { ShowRecording(text); },
        [this](const std::wstring& text) { ShowMessage(text); }};

    PtzPad pad_{[this](const std::wstring& method, std::vector<_variant_t> arguments) {
                    return calls_.CallWith(method, std::move(arguments));
                },
                [this](const std::wstring& name) { return calls_.Text(name); },
                [this](const std::wstring& text) { Fail(text); }};

    std::deque<Log::Entry> entries_;
    ExitCode exitCode_ = ExitCode::Done;
};
