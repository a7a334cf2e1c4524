#include "control/trust/ReachTransport.h"

#include "net/Failure.h"
#include "util/Log.h"

namespace norix {

HttpReply ReachTransport::Send(const HttpRequest& request) {
    const std::optional<std::string> connectTo = m_reach->Resolve(request.host);
    if (!connectTo) {
        NORIX_LOG("ReachTransport::Send", 1, "%s must not be reached", request.host.c_str());
        HttpReply none;
        none.failure = net::kMayNotReach;
        return none;
    }
    HttpRequest routed = request;
    routed.connectTo = *connectTo;
    routed.route = [reach = m_reach](const std::string& host) { return reach->Resolve(host); };
    return m_transport.Send(routed);
}

}  // namespace norix
