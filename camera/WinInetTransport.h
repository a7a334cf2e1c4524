#pragma once

#include "camera/HttpTransport.h"

namespace norix {

/// Requests through WinInet, with the proxy that is configured for the user. Answers Digest and Basic
/// challenges itself, once per address; remembers nothing from request to request. HTTPS takes certificates
/// of unknown issuers, or for other names, only with the user's setting AllowSelfSignedCertificate
/// (docs/settings.md).
///
/// Send may block for 5000 ms at most, whatever the server does; it dispatches no messages. A thread that is
/// stuck in the system then is left alone and keeps the module loaded until it returns. Any thread.
class WinInetTransport : public HttpTransport {
  public:
    HttpReply Send(const HttpRequest& request) override;
};

}  // namespace norix
