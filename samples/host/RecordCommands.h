#pragma once

#include <windows.h>

#include <comutil.h>

#include <functional>
#include <string>
#include <vector>

#include "EventSink.h"

/// Recording: a button that starts and stops it, where to, how long the files are, and what the status bar
/// says of it. Call and Set throw AutomationError.
class RecordCommands {
  public:
    using Call = std::function<_variant_t(const std::wstring& method, std::vector<_variant_t> arguments)>;
    using Set = std::function<void(const std::wstring& property, const std::wstring& value)>;
    using Get = std::function<std::wstring(const std::wstring& property)>;
    using Show = std::function<void(const std::wstring&)>;

    /// `show` takes what the status bar's part is to say, `say` a message.
    RecordCommands(Call call, Set set, Get get, Show show, Show say)
        : call_(std::move(call)),
          set_(std::move(set)),
          get_(std::move(get)),
          show_(std::move(show)),
          say_(std::move(say)) {}

    /// Into the chosen folder, or the user's videos.
    void Toggle();
    void PickFolder(HWND owner);
    /// The next of a few limits for a file's length and size.
    void NextLimit();

    /// All events pass through here.
    void OnEvent(const Event& event);
    /// The control is gone.
    void Forget();

  private:
    void ShowProgress();
    std::wstring Folder();

    Call call_;
    Set set_;
    Get get_;
    Show show_;
    Show say_;
    bool wanted_ = false;
    size_t limit_ = 0;
    ULONGLONG begun_ = 0;  // of the file, by GetTickCount64; 0: none is open
    ULONGLONG shown_ = 0;
    std::wstring file_;  // that is being written
};
