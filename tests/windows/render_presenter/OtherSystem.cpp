#include "tests/windows/render_presenter/OtherSystem.h"

#include "util/Handles.h"

namespace norix {
namespace {

constexpr DWORD kDeadline = 60000;
constexpr wchar_t kDesktops[] = L"Software\\Wine\\Explorer\\Desktops";
constexpr wchar_t kDesktopName[] = L"presenter";

void SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    util::RegKey opened;
    RegCreateKeyW(HKEY_CURRENT_USER, key.c_str(), opened.Put());
    RegSetValueExW(opened.Get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

}  // namespace

OtherSystem::OtherSystem() {
    const HMODULE ntdll = GetModuleHandleW(L"ntdll");
    if (!GetProcAddress(ntdll, "wine_get_version")) return;
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    m_program = path;
    m_key = L"Software\\Wine\\AppDefaults\\" + m_program.substr(m_program.find_last_of(L'\\') + 1);
}

OtherSystem::~OtherSystem() {
    if (IsPossible()) RegDeleteKeyW(HKEY_CURRENT_USER, m_key.c_str());
}

void OtherSystem::SetWindowsVersion(const wchar_t* version) {
    SetText(m_key, L"Version", version);
}

void OtherSystem::SetDesktop(int width, int height) {
    SetText(kDesktops, kDesktopName, std::to_wstring(width) + L"x" + std::to_wstring(height));
    m_desktop = kDesktopName;
}

DWORD OtherSystem::Run(const std::wstring& arguments) const {
    std::wstring command = L"\"" + m_program + L"\" " + arguments;
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    std::wstring desktop = m_desktop;
    start.lpDesktop = desktop.empty() ? nullptr : desktop.data();
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                        &process))
        return MAXDWORD;
    const util::UniqueHandle thread(process.hThread);
    const util::UniqueHandle handle(process.hProcess);
    DWORD code = MAXDWORD;
    if (WaitForSingleObject(handle.Get(), kDeadline) == WAIT_OBJECT_0)
        GetExitCodeProcess(handle.Get(), &code);
    else
        TerminateProcess(handle.Get(), code);
    return code;
}

}  // namespace norix
