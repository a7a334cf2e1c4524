#include "control/connection/SavedCredentials.h"

#include <windows.h>

#include <dpapi.h>
#include <wincrypt.h>

#include <vector>

#include "protocol/Text.h"
#include "util/Handles.h"
#include "util/Registry.h"
#include "util/Text.h"

namespace norix {

namespace {

constexpr wchar_t kKey[] = L"Software\\Norix\\Credentials";
constexpr std::size_t kLongestHost = 255;  // of a name (RFC 1035)
constexpr std::size_t kLongestText = 1024;

/// Memory that the encryption functions allocate, wiped before it is freed.
class ProtectedBlob {
  public:
    ProtectedBlob() = default;
    ~ProtectedBlob() {
        if (m_blob.pbData == nullptr) return;
        SecureZeroMemory(m_blob.pbData, m_blob.cbData);
        LocalFree(m_blob.pbData);
    }
    ProtectedBlob(const ProtectedBlob&) = delete;
    ProtectedBlob& operator=(const ProtectedBlob&) = delete;

    DATA_BLOB* Receive() { return &m_blob; }
    const BYTE* Data() const { return m_blob.pbData; }
    DWORD Size() const { return m_blob.cbData; }

  private:
    DATA_BLOB m_blob = {};
};

DATA_BLOB BlobOf(const std::wstring& text) {
    return {static_cast<DWORD>(text.size() * sizeof(wchar_t)),
            reinterpret_cast<BYTE*>(const_cast<wchar_t*>(text.data()))};
}

/// The name of the origin's value, which is also part of the secret; empty for no usable name.
std::wstring NameOf(const protocol::Origin& origin) {
    if (!origin || origin.host.size() > kLongestHost) return {};
    return util::Utf8ToWide(protocol::toText(origin));
}

/// The same in earlier versions.
std::wstring FormerNameOf(const protocol::Origin& origin) {
    const bool usual = (origin.scheme == "http" && origin.port == protocol::kHttpPort) ||
                       (origin.scheme == "rtsp" && origin.port == protocol::kRtspPort);
    if (!usual || origin.host.size() > kLongestHost) return {};
    return util::Utf8ToWide(origin.host);
}

std::optional<SignIn> LoadNamed(const std::wstring& name) {
    if (name.empty()) return std::nullopt;
    std::vector<BYTE> bytes =
        protocol::fromHex(util::WideToUtf8(util::StringReg(HKEY_CURRENT_USER, kKey, name.c_str()).Value()));
    if (bytes.empty()) return std::nullopt;
    DATA_BLOB secret = {static_cast<DWORD>(bytes.size()), bytes.data()};
    DATA_BLOB entropy = BlobOf(name);
    ProtectedBlob plain;
    if (!CryptUnprotectData(&secret, nullptr, &entropy, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN,
                            plain.Receive())) {
        return std::nullopt;
    }
    std::wstring text(reinterpret_cast<const wchar_t*>(plain.Data()), plain.Size() / sizeof(wchar_t));
    const std::size_t end = text.find(L'\0');
    if (end == std::wstring::npos) return std::nullopt;
    return SignIn{util::WideToUtf8(text.substr(0, end)), util::WideToUtf8(text.substr(end + 1))};
}

}  // namespace

std::optional<SignIn> SavedCredentials::Load(const protocol::Origin& origin) {
    auto signIn = LoadNamed(NameOf(origin));
    return signIn ? signIn : LoadNamed(FormerNameOf(origin));
}

bool SavedCredentials::Save(const protocol::Origin& origin, const SignIn& signIn) {
    const std::wstring name = NameOf(origin);
    if (name.empty() || signIn.user.size() > kLongestText || signIn.password.size() > kLongestText)
        return false;
    if (const auto saved = LoadNamed(name); saved && *saved == signIn) return true;
    std::wstring text = util::Utf8ToWide(signIn.user) + L'\0' + util::Utf8ToWide(signIn.password);
    DATA_BLOB plain = BlobOf(text);
    DATA_BLOB entropy = BlobOf(name);
    ProtectedBlob secret;
    const BOOL encrypted = CryptProtectData(&plain, L"NorixSDK", &entropy, nullptr, nullptr,
                                            CRYPTPROTECT_UI_FORBIDDEN, secret.Receive());
    SecureZeroMemory(text.data(), text.size() * sizeof(wchar_t));
    if (!encrypted) return false;
    const std::wstring stored = util::Utf8ToWide(protocol::toHex(secret.Data(), secret.Size()));
    return util::StringReg(HKEY_CURRENT_USER, kKey, name.c_str(), true).Set(stored);
}

}  // namespace norix
