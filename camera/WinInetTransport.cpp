#include "camera/WinInetTransport.h"

#include <exception>
#include <memory>
#include <optional>
#include <random>
#include <string>

#include "camera/ExchangeWatch.h"
#include "camera/HttpPolicy.h"
#include "camera/WinInetExchange.h"
#include "net/Failure.h"
#include "net/KnownServers.h"
#include "net/Redirection.h"
#include "util/Log.h"
#include "util/LooseThread.h"
#include "util/Registry.h"
#include "util/Settings.h"

namespace norix {
namespace {

constexpr unsigned kClientError = 400;

bool AllowSelfSignedCertificate() {
    return util::IntReg(HKEY_CURRENT_USER, util::kClientSettingKey, L"AllowSelfSignedCertificate").Value() !=
           0;
}

std::string ClientNonce() {
    std::random_device device;
    return std::to_string(device()) + std::to_string(device());
}

// One request, on an exchange that is made for it. Which kind of certificate the server has is tried: the
// kind that it had last first.
HttpReply Ask(std::optional<WinInetExchange>& exchange, ExchangeWatch& watch, const HttpRequest& request,
              const std::string& authorization, bool allowSelfSigned) {
    using Certificates = WinInetExchange::Certificates;
    const bool either = request.secure && allowSelfSigned;
    const bool pinned = either && net::KnownServers::get().hasPin(OriginOf(request));
    exchange.emplace(watch);
    HttpReply reply =
        exchange->Send(request, authorization, pinned ? Certificates::Pinned : Certificates::Vouched);
    if (!either || reply.answered || !exchange->CertificateRefused() || watch.Abandoned()) return reply;
    exchange.emplace(watch);
    return exchange->Send(request, authorization, pinned ? Certificates::Vouched : Certificates::Pinned);
}

// Where a redirection leads to, if it may.
bool Route(HttpRequest& request) {
    if (!request.route) return true;
    const auto connectTo = request.route(request.host);
    if (connectTo) request.connectTo = *connectTo;
    return connectTo.has_value();
}

// Asks until there is a reply that wants nothing more of us.
void Converse(HttpRequest request, bool allowSelfSigned, ExchangeWatch& watch) {
    std::optional<WinInetExchange> exchange;
    std::optional<ChallengeAnswer> answer;
    unsigned redirections = 0;
    while (!watch.Abandoned()) {
        // Also where only a redirection leads there.
        if (request.secure)
            net::KnownServers::get().askedSecurely(request.host, util::AllowsPlainWithHttps());
        HttpReply reply =
            Ask(exchange, watch, request, answer ? answer->line : std::string(), allowSelfSigned);
        if (!reply.answered) return watch.SetReply(std::move(reply));
        if (answer && reply.status < kClientError)
            net::KnownServers::get().accepted(OriginOf(request), answer->kind);
        if (!answer) {
            answer = AnswerChallenge(request, reply, ClientNonce());
            if (answer) continue;
        }
        if (redirections < net::kMaxRedirections) {
            if (auto next = FollowRedirection(request, reply); next && Route(*next)) {
                ++redirections;
                request = std::move(*next);
                answer.reset();
                continue;
            }
        }
        // The reply without a body stands in case that the body takes too long.
        HttpReply begun = reply;
        begun.stalled = true;
        watch.SetReply(std::move(begun));
        exchange->ReadBody(request.maxReply, reply);
        watch.SetReply(std::move(reply));
        watch.Finish();  // closing may take its time
        return;
    }
}

}  // namespace

HttpReply WinInetTransport::Send(const HttpRequest& request) {
    if (!IsHost(request.host) || request.port == 0) return {};
    const auto watch = std::make_shared<ExchangeWatch>();
    const bool allowSelfSigned = AllowSelfSignedCertificate();
    const bool started = util::StartLooseThread([watch, request, allowSelfSigned] {
        try {
            Converse(request, allowSelfSigned, *watch);
        } catch (const std::exception& error) {
            NORIX_LOG("WinInetTransport::Send", 1, "%s", error.what());
        } catch (...) {
            NORIX_LOG("WinInetTransport::Send", 1, "unknown exception");
        }
        watch->Finish();
    });
    if (!started) return {};
    const bool finished = watch->WaitForFinish();
    if (!finished) {
        watch->Abandon();
        NORIX_LOG("WinInetTransport::Send", 1, "No reply in time from %s", request.host.c_str());
    }
    HttpReply reply = watch->TakeReply();
    if (!finished && !reply.answered) reply.failure = net::kNoAnswer;
    return reply;
}

}  // namespace norix
