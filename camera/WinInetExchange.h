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

    /// Which certificates HTTPS takes: those that the system vouches for, or the one of unknown issuer, or
    /// for another name, that was pinned to the server; the first that comes is.
    enum class Certificates { Vouched, Pinned };

    /// Sends the request and waits for status and headers.
    HttpReply Send(const HttpRequest& request, const std::string& authorization, Certificates certificates);
    /// After a Send without an answer: it was for the certificate.
    bool CertificateRefused() const { return m_certificateRefused; }
    /// Completes the reply by its body.
    void ReadBody(std::size_t most, HttpReply& reply);

  private:
    bool Open(const HttpRequest& request, Certificates certificates);
    bool Transmit(const HttpRequest& request, const std::string& authorization);
    bool ReadHeaders(HttpReply& reply);

    ExchangeWatch& m_watch;
    bool m_certificateRefused = false;
    // In the order of their making: closed in reverse.
    UniqueInternet m_session;
    UniqueInternet m_connection;
    UniqueInternet m_request;
};

}  // namespace norix
