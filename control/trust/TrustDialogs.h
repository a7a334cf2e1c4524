#pragma once

#include "control/trust/TrustGuard.h"

namespace norix {

/// The questions as the user sees them: the system's own boxes, above the control. No and Cancel are what
/// Enter and Esc choose.
class TrustDialogs final : public TrustQuestions {
  public:
    bool AllowTarget(HWND owner, const PageIdentity& page, const std::string& target,
                     const std::string& address) override;
    bool AllowMicrophone(HWND owner, const PageIdentity& page, const std::string& target) override;
    std::wstring PickFolder(HWND owner, const PageIdentity& page) override;
};

/// Has the user pick a folder; empty when he picks none. Runs a message loop.
std::wstring BrowseForFolder(HWND owner, const std::wstring& text);

/// A text from the network for a person to read: one short line, without characters that turn its direction
/// or hide.
std::wstring ForReading(const std::string& text);

}  // namespace norix
