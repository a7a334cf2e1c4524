#pragma once

#include <windows.h>

#include <wininet.h>

#include <string>

#include "camera/ExchangeWatch.h"
#include "camera/HttpTransport.h"
#include "util/Handles.h"

namespace norix {

struct InternetTraits {
    using Value = HINTERNET;
    static HINTERNET None() noexcept { return nullptr; }
    static void Close(HINTERNET handle) noexcept { InternetCloseHandle(handle); }
};
using UniqueInternet = util::UniqueResource<InternetTraits>;

/// One request and its reply through WinInet, by the thread that made it: first Send, then ReadBody. Both
/// block; the watch, which outlives the exchange, is told how far they are. WinInet is kept from doing
/// anything of its own: no credentials, cookies, cache, dialogs or redirections.
class WinInetExchange {
  public:
    explicit WinInetExchange(ExchangeWatch& watch) : m_watch(watch) {}
    WinInetExchange(const WinInetExchange&) = delete;
    WinInetExchange& operator=(const WinInetExchange&) = delete;

    /// Sends the request and waits for status and headers. `acceptAnyIssuer`: HTTPS with certificates of
    /// unknown issuers, or for other names, as well.
    HttpReply Send(const HttpRequest& request, const std::string& authorization, bool acceptAnyIssuer);
    /// Completes the reply by its body.
    void ReadBody(std::size_t most, HttpReply& reply);

  private:
    bool Open(const HttpRequest& request, bool acceptAnyIssuer);
    bool Transmit(const HttpRequest& request, const std::string& authorization);
    bool ReadHeaders(HttpReply& reply);

    ExchangeWatch& m_watch;
    // In the order of their making: closed in reverse.
    UniqueInternet m_session;
    UniqueInternet m_connection;
    UniqueInternet m_request;
};

}  // namespace norix
