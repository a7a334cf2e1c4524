#pragma once

#include <windows.h>

#include <oleidl.h>

#include <optional>
#include <string>

namespace norix {

/// The address of the web page that holds the control.
struct HostPage {
    bool isHttps = false;
    std::wstring host;
    long port = 0;
};

/// The display name of the moniker that names the site's container: the page's address in a browser. Nothing
/// when the host is no browser and has no such moniker.
std::optional<std::wstring> ReadContainerAddress(IOleClientSite* site);

/// Splits a page address. False when the system does not accept it as a URL; the page is then unknown.
/// `page` stays empty for a page that no camera can have served (a local file, for instance).
bool ParsePageAddress(const std::wstring& address, std::optional<HostPage>& page);

}  // namespace norix
