#include "control/trust/TrustDialogs.h"

#include <objbase.h>
#include <shlobj.h>

#include <array>

#include "framework/Module.h"
#include "ui/Texts.h"
#include "util/Handles.h"
#include "util/Text.h"

namespace norix {

namespace {

constexpr wchar_t kTitle[] = L"NorixSDK";

struct TaskMemory {
    using Value = LPITEMIDLIST;
    static Value None() noexcept { return nullptr; }
    static void Close(Value list) noexcept { CoTaskMemFree(list); }
};
using UniqueItemList = util::UniqueResource<TaskMemory>;

bool IsReadable(wchar_t c) {
    const bool hidden = (c >= 0x200B && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) ||
                        (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF;
    return c >= L' ' && !(c >= 0x7F && c <= 0x9F) && !hidden;
}

}  // namespace

std::wstring ForReading(const std::string& text) {
    constexpr std::size_t kMost = 100;
    std::wstring line = util::Utf8ToWide(text);
    for (wchar_t& c : line)
        if (!IsReadable(c)) c = L'?';
    if (line.size() > kMost) line = line.substr(0, kMost) + L"...";
    return line;
}

bool TrustDialogs::AllowTarget(HWND owner, const PageIdentity& page, const std::string& target,
                               const std::string& address) {
    std::wstring whom = ForReading(target);
    if (!address.empty()) whom += L" (" + ForReading(address) + L")";
    const std::wstring text = Insert(UiText(IDS_TRUST_TARGET), {ForReading(page.origin), whom});
    return MessageBoxW(owner, text.c_str(), kTitle, MB_YESNO | MB_DEFBUTTON2 | MB_ICONWARNING) == IDYES;
}

bool TrustDialogs::AllowMicrophone(HWND owner, const PageIdentity& page, const std::string& target) {
    const std::wstring text = L"The page\n\n    " + ForReading(page.origin) +
                              L"\n\nwants to switch your microphone on and send what you say to\n\n    " +
                              ForReading(target) + L"\n\nAllow it this time?";
    return MessageBoxW(owner, text.c_str(), kTitle, MB_YESNO | MB_DEFBUTTON2 | MB_ICONWARNING) == IDYES;
}

std::wstring TrustDialogs::PickFolder(HWND owner, const PageIdentity& page) {
    return BrowseForFolder(owner, Insert(UiText(IDS_TRUST_FOLDER), {ForReading(page.origin)}));
}

std::wstring BrowseForFolder(HWND owner, const std::wstring& text) {
    BROWSEINFOW browse = {};
    browse.hwndOwner = owner;
    browse.lpszTitle = text.c_str();
    browse.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
    const UniqueItemList picked(SHBrowseForFolderW(&browse));
    std::array<wchar_t, MAX_PATH> path = {};
    if (!picked || !SHGetPathFromIDListW(picked.Get(), path.data())) return {};
    return path.data();
}

}  // namespace norix
