#pragma once

#include <memory>

#include "camera/HttpTransport.h"
#include "control/trust/TrustGuard.h"

namespace norix {

/// Passes requests on to the hosts that may be reached, at the addresses that were checked; redirections
/// too. Others are not answered, as if nobody were there. Any thread, as the transport that it stands for.
class ReachTransport final : public HttpTransport {
  public:
    /// `transport` outlives this.
    ReachTransport(HttpTransport& transport, std::shared_ptr<const Reach> reach)
        : m_transport(transport), m_reach(std::move(reach)) {}

    HttpReply Send(const HttpRequest& request) override;

  private:
    HttpTransport& m_transport;
    const std::shared_ptr<const Reach> m_reach;
};

}  // namespace norix
