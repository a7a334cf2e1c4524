#pragma once

// Conversations with cameras, as files. Each begins with lines "name: value":
//   host, port, secure, user, password, mediaService, token, channel, index, codec, protocol   what is asked
//   expect    "URI TOKEN RATE", or "nothing"
//   sent      must be in one of the requests' bodies, in this order
//   log       must be in the log, in any order; never: must not
// Then, for each request in its order, "=== HOST:PORT PATH OPERATION -> STATUS" (or "none": no answer;
// "https:" before the host: over HTTPS) and below it the reply.

#include <string>
#include <string_view>
#include <vector>

#include "camera/onvif/OnvifMedia.h"

namespace onvif_test {

struct Exchange {
    std::string request;  // "HOST:PORT PATH OPERATION"
    bool answered = true;
    unsigned status = 200;
    std::string reply;
};

struct Dialogue {
    norix::OnvifQuestion question;
    std::string expected;
    std::vector<std::string> sent;
    std::vector<std::string> logged;
    std::vector<std::string> neverLogged;
    std::vector<Exchange> exchanges;
};

// Whatever the text holds; what makes no sense is skipped.
Dialogue ReadDialogue(std::string_view text);

// Answers as the dialogue says and keeps what it was sent.
class ScriptedCamera : public norix::HttpTransport {
  public:
    explicit ScriptedCamera(std::vector<Exchange> exchanges) : m_exchanges(std::move(exchanges)) {}
    norix::HttpReply Send(const norix::HttpRequest& request) override;

    std::vector<std::string> asked;  // as Exchange::request
    std::vector<norix::HttpRequest> requests;

  private:
    std::vector<Exchange> m_exchanges;
};

// It is 2026-11-21 10:02:12, time stands still, and the nonce is "0123456789abcdef".
norix::OnvifSurroundings QuietSurroundings();

}  // namespace onvif_test
