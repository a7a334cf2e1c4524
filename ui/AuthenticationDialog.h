#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace norix {

/// A user name and its password, as typed.
struct Credentials {
    std::wstring user;
    std::wstring password;
};

/// Asks for user name and password of the camera `server` in a modal dialog over `owner`, beginning with
/// `initial`. `page`, if not empty, is the page that the control stands in. Nothing when the user cancels.
/// Window thread; runs a message loop.
std::optional<Credentials> AskForCredentials(HINSTANCE module, HWND owner, const std::wstring& server,
                                             const std::wstring& page, const Credentials& initial);

}  // namespace norix
