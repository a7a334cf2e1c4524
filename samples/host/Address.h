#pragma once

#include <string>

/// What the address bar holds: "[user[:password]@]host[:port]" (the camera's HTTP port) or
/// "rtsp://[user[:password]@]host/...".
struct Address {
    std::wstring host;
    long port = 0;           // 0: not given
    std::wstring streamUri;  // without user and password; empty for a plain host
    std::wstring user;
    std::wstring password;

    /// The same without user and password.
    std::wstring Shown() const;
};

Address ParseAddress(const std::wstring& text);
