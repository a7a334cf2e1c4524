#include "control/trust/HostReader.h"

#include <objbase.h>
#include <servprov.h>
#include <urlmon.h>
#include <wrl/client.h>

#include <cstring>

#include "control/HostPage.h"
#include "util/Text.h"

namespace norix {

using Microsoft::WRL::ComPtr;

namespace {

constexpr char kFileScheme[] = "file:";

/// A security identifier is the scheme, the domain and, in its last four bytes, the zone.
void ReadSecurityId(IInternetHostSecurityManager& manager, HostFacts& facts) {
    std::array<BYTE, MAX_SIZE_SECURITY_ID> id = {};
    DWORD size = id.size();
    std::uint32_t zone = 0;
    if (FAILED(manager.GetSecurityId(id.data(), &size, 0)) || size < sizeof(zone) || size > id.size()) return;
    const std::size_t length = size - sizeof(zone);
    std::memcpy(&zone, id.data() + length, sizeof(zone));
    facts.zone = zone;
    const std::string_view text(reinterpret_cast<const char*>(id.data()), length);
    if (!facts.hasPage && text.starts_with(kFileScheme)) {
        facts.hasPage = true;
        facts.page = kFileScheme;
    }
}

std::optional<std::uint32_t> MapToZone(IInternetSecurityManager* manager, const std::wstring& page) {
    DWORD zone = 0;
    if (manager == nullptr || FAILED(manager->MapUrlToZone(page.c_str(), &zone, 0))) return std::nullopt;
    return zone;
}

}  // namespace

HostFacts ReadHost(IOleClientSite* site, bool untrustedCaller) {
    HostFacts facts;
    facts.untrustedCaller = untrustedCaller;
    if (site == nullptr) return facts;
    const ComPtr<IOleClientSite> held = site;
    const std::optional<std::wstring> page = ReadContainerAddress(held.Get());
    facts.hasPage = page.has_value();
    if (page) facts.page = util::WideToUtf8(*page);

    ComPtr<IServiceProvider> services;
    ComPtr<IInternetHostSecurityManager> host;
    ComPtr<IInternetSecurityManager> system;
    if (SUCCEEDED(held.As(&services))) {
        services->QueryService(IID_IInternetHostSecurityManager, IID_PPV_ARGS(&host));
        services->QueryService(IID_IInternetSecurityManager, IID_PPV_ARGS(&system));
    }
    facts.hasManager = host != nullptr || system != nullptr;
    if (host != nullptr) ReadSecurityId(*host.Get(), facts);
    if (facts.zone || !page) return facts;
    // Container's own mapping first: it knows zones that the system does not.
    facts.zone = MapToZone(system.Get(), *page);
    if (facts.zone) return facts;
    system.Reset();
    CoCreateInstance(CLSID_InternetSecurityManager, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&system));
    facts.zone = MapToZone(system.Get(), *page);
    return facts;
}

}  // namespace norix
