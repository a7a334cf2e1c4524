#pragma once

#include <memory>

#include "control/connection/ConnectionMeans.h"
#include "control/connection/SessionContext.h"

namespace norix {

/// The product's means: receivers over the network, WinInet, the user's registry, threads and the control's
/// window.
class WindowsMeans final : public ConnectionMeans {
  public:
    explicit WindowsMeans(std::shared_ptr<SessionContext> session) : m_session(std::move(session)) {}

    std::shared_ptr<StreamReception> MakeReception() override;
    std::shared_ptr<CameraServices> MakeCameraServices() override;
    std::optional<SignIn> LoadSignIn(const std::string& server) override;
    void SaveSignIn(const std::string& server, const SignIn& signIn) override;
    bool RunBeside(std::function<void()> body) override;
    std::shared_ptr<StepSignal> MakeSignal(unsigned step) override;
    bool Await(StepSignal& signal, unsigned milliseconds) override;

  private:
    const std::shared_ptr<SessionContext> m_session;
};

}  // namespace norix
