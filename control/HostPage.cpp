#include "control/HostPage.h"

#include <objbase.h>
#include <wininet.h>
#include <wrl/client.h>

#include <array>

namespace norix {

using Microsoft::WRL::ComPtr;

std::optional<std::wstring> ReadContainerAddress(IOleClientSite* site) {
    if (site == nullptr) return std::nullopt;
    ComPtr<IMoniker> moniker;
    if (FAILED(site->GetMoniker(OLEGETMONIKER_TEMPFORUSER, OLEWHICHMK_CONTAINER, &moniker)) ||
        moniker == nullptr) {
        return std::nullopt;
    }
    ComPtr<IBindCtx> context;
    LPOLESTR name = nullptr;
    if (FAILED(CreateBindCtx(0, &context)) ||
        FAILED(moniker->GetDisplayName(context.Get(), nullptr, &name)) || name == nullptr) {
        return std::nullopt;
    }
    std::wstring address = name;
    CoTaskMemFree(name);
    return address;
}

bool ParsePageAddress(const std::wstring& address, std::optional<HostPage>& page) {
    page.reset();
    std::array<wchar_t, 260> host{};  // 259 characters and the end
    URL_COMPONENTSW parts = {};
    parts.dwStructSize = sizeof(parts);
    parts.lpszHostName = host.data();
    parts.dwHostNameLength = static_cast<DWORD>(host.size());
    if (!InternetCrackUrlW(address.c_str(), static_cast<DWORD>(address.size()), 0, &parts)) return false;
    if (parts.nScheme == INTERNET_SCHEME_HTTP || parts.nScheme == INTERNET_SCHEME_HTTPS) {
        page = HostPage{parts.nScheme == INTERNET_SCHEME_HTTPS, host.data(), parts.nPort};
    }
    return true;
}

}  // namespace norix
