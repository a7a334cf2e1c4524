#pragma once

#include <fstream>
#include <functional>
#include <string>

/// What has happened, one line per entry: time, kind, name and arguments. Goes to the event pane and, where
/// asked for, to a UTF-8 file. Passwords never get this far: secret values are masked.
class Log {
  public:
    struct Entry {
        std::wstring time;
        std::wstring kind;  // "event", "set", "call", ...
        std::wstring text;
    };
    using Viewer = std::function<void(const Entry&)>;

    /// False when the file cannot be written.
    bool Open(const std::wstring& path);
    void SetViewer(Viewer viewer) { viewer_ = std::move(viewer); }

    void Write(const std::wstring& kind, const std::wstring& text);

  private:
    std::ofstream file_;
    Viewer viewer_;
};

/// The value as it may be shown: the value of a property named like a password is hidden.
std::wstring Masked(const std::wstring& propertyName, const std::wstring& value);
