#pragma once

#include <memory>

#include "control/connection/ConnectionMeans.h"
#include "control/connection/SessionContext.h"
#include "control/trust/TrustGuard.h"

namespace norix {

/// The product's means: receivers over the network, WinInet, the user's registry, threads and the control's
/// window.
class WindowsMeans final : public ConnectionMeans {
  public:
    WindowsMeans(std::shared_ptr<SessionContext> session, std::shared_ptr<const Reach> reach)
        : m_session(std::move(session)), m_reach(std::move(reach)) {}

    std::shared_ptr<StreamReception> MakeReception() override;
    std::shared_ptr<CameraServices> MakeCameraServices() override;
    std::optional<SignIn> LoadSignIn(const protocol::Origin& origin) override;
    void SaveSignIn(const protocol::Origin& origin, const SignIn& signIn) override;
    bool RunBeside(std::function<void()> body) override;
    std::shared_ptr<StepSignal> MakeSignal(unsigned step) override;
    bool Await(StepSignal& signal, unsigned milliseconds) override;

  private:
    const std::shared_ptr<SessionContext> m_session;
    const std::shared_ptr<const Reach> m_reach;
};

}  // namespace norix
