#include "control/trust/PageStore.h"

#include <windows.h>

#include <algorithm>

#include "util/ClientKey.h"
#include "util/Registry.h"
#include "util/Settings.h"
#include "util/Text.h"

namespace norix {

namespace {

constexpr wchar_t kPagesKey[] = L"Software\\Norix\\Pages\\";
constexpr wchar_t kTargets[] = L"\\Targets";
constexpr wchar_t kValues[] = L"\\Values";
constexpr wchar_t kFolder[] = L"Folder";
constexpr wchar_t kAllow[] = L"allow";
constexpr wchar_t kRefuse[] = L"refuse";
constexpr wchar_t kPageTargets[] = L"\\PageTargets";

constexpr std::size_t kLongestKeyName = 255;  // of the registry
constexpr std::size_t kLongestValue = 4096;   // characters of one client value
constexpr DWORD kMostValues = 256;            // client values of one page

/// The name of the page's key; empty for none: such a page is asked anew each time.
std::wstring KeyName(const PageIdentity& page) {
    std::wstring name = util::Utf8ToWide(page.origin);
    std::replace(name.begin(), name.end(), L'\\', L'/');
    return IsKnownAgain(page) && name.size() <= kLongestKeyName ? name : std::wstring();
}

DWORD CountValues(const std::wstring& key) {
    util::RegKey opened;
    DWORD count = 0;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ | KEY_WOW64_32KEY, opened.Put()) !=
        ERROR_SUCCESS) {
        opened.Release();
        return 0;
    }
    RegQueryInfoKeyW(opened.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr,
                     nullptr, nullptr, nullptr);
    return count;
}

/// Where SetClientReg keeps a program's value, as one name below the page's key.
std::wstring ValueName(const std::wstring& model, int channel, const std::wstring& name) {
    return util::ClientKeyPath(model, channel) + L"\\" + name;
}

}  // namespace

PageStore::PageStore(const PageIdentity& page) {
    if (const std::wstring name = KeyName(page); !name.empty()) m_key = kPagesKey + name;
}

std::optional<bool> PageStore::Answer(const std::string& target) const {
    if (m_key.empty()) return std::nullopt;
    const util::StringReg stored(HKEY_CURRENT_USER, (m_key + kTargets).c_str(),
                                 util::Utf8ToWide(target).c_str());
    if (stored.Value() == kAllow) return true;
    if (stored.Value() == kRefuse) return false;
    return std::nullopt;
}

void PageStore::Remember(const std::string& target, bool allowed) const {
    if (m_key.empty()) return;
    util::StringReg(HKEY_CURRENT_USER, (m_key + kTargets).c_str(), util::Utf8ToWide(target).c_str(), true)
        .Set(allowed ? kAllow : kRefuse);
}

std::wstring PageStore::Folder() const {
    if (m_key.empty()) return {};
    return util::StringReg(HKEY_CURRENT_USER, m_key.c_str(), kFolder).Value();
}

void PageStore::RememberFolder(const std::wstring& folder) const {
    if (!m_key.empty()) util::StringReg(HKEY_CURRENT_USER, m_key.c_str(), kFolder, true).Set(folder);
}

bool PageStore::SetClientValue(const std::wstring& model, int channel, const std::wstring& name,
                               const std::wstring& value) const {
    const std::wstring valueName = ValueName(model, channel, name);
    if (m_key.empty() || valueName.size() > kLongestKeyName || value.size() > kLongestValue) return false;
    const std::wstring key = m_key + kValues;
    if (!util::StringReg(HKEY_CURRENT_USER, key.c_str(), valueName.c_str()).Exists() &&
        CountValues(key) >= kMostValues) {
        return false;
    }
    return util::StringReg(HKEY_CURRENT_USER, key.c_str(), valueName.c_str(), true).Set(value);
}

std::wstring PageStore::GetClientValue(const std::wstring& model, int channel, const std::wstring& name,
                                       const std::wstring& fallback) const {
    if (m_key.empty()) return fallback;
    const util::StringReg stored(HKEY_CURRENT_USER, (m_key + kValues).c_str(),
                                 ValueName(model, channel, name).c_str());
    return stored.Exists() ? stored.Value() : fallback;
}

TargetList ReadAllowedTargets(const PageIdentity& page) {
    const std::wstring key = std::wstring(util::kMachineKey) + kPageTargets;
    std::wstring text = util::StringReg(HKEY_LOCAL_MACHINE, key.c_str(), L"*").Value();
    if (!page.host.empty()) {
        const std::wstring host = util::Utf8ToWide(page.host);
        text += L" " + util::StringReg(HKEY_LOCAL_MACHINE, key.c_str(), host.c_str()).Value();
    }
    return TargetList(util::WideToUtf8(text));
}

}  // namespace norix
