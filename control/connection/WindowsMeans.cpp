#include "control/connection/WindowsMeans.h"

#include <windows.h>

#include <exception>

#include "camera/WinInetTransport.h"
#include "camera/onvif/OnvifProvider.h"
#include "control/connection/Reception.h"
#include "control/connection/SavedCredentials.h"
#include "control/trust/ReachTransport.h"
#include "util/AnsweringWait.h"
#include "util/Handles.h"
#include "util/Log.h"
#include "util/LooseThread.h"

namespace norix {

namespace {

class WebServices final : public CameraServices {
  public:
    explicit WebServices(std::shared_ptr<const Reach> reach) : m_transport(m_network, std::move(reach)) {}
    HttpTransport& Transport() override { return m_transport; }
    IKsOnvifMedia& Onvif() override {
        if (!m_onvif) m_onvif = std::make_unique<OnvifProvider>(m_transport);
        return m_onvif->Media();
    }

  private:
    WinInetTransport m_network;
    ReachTransport m_transport;
    std::unique_ptr<OnvifProvider> m_onvif;
};

/// Also posted: a connection that nobody waits for goes on from the window's queue. A message that gets lost
/// in a full queue is made up for by the connection's timer.
class WindowSignal final : public StepSignal {
  public:
    WindowSignal(std::shared_ptr<SessionContext> session, unsigned step)
        : m_session(std::move(session)), m_step(step) {}

    void Done() override {
        m_done.Set();
        m_session->param.window.Post(WM_OnConnectStep, m_step, 0);
    }
    bool IsDone() const override { return WaitForSingleObject(m_done.Get(), 0) == WAIT_OBJECT_0; }
    HANDLE Event() const { return m_done.Get(); }

  private:
    const std::shared_ptr<SessionContext> m_session;
    const unsigned m_step;
    util::Event m_done{util::Event::Kind::kManualReset};
};

}  // namespace

std::shared_ptr<StreamReception> WindowsMeans::MakeReception() {
    return std::make_shared<Reception>(m_session);
}

std::shared_ptr<CameraServices> WindowsMeans::MakeCameraServices() {
    return std::make_shared<WebServices>(m_reach);
}

std::optional<SignIn> WindowsMeans::LoadSignIn(const protocol::Origin& origin) {
    return SavedCredentials::Load(origin);
}

void WindowsMeans::SaveSignIn(const protocol::Origin& origin, const SignIn& signIn) {
    SavedCredentials::Save(origin, signIn);
}

bool WindowsMeans::RunBeside(std::function<void()> body) {
    return util::StartLooseThread([body = std::move(body)] {
        try {
            body();
        } catch (const std::exception& error) {
            NORIX_LOG("WindowsMeans::RunBeside", 1, "ended by an exception: %s", error.what());
        } catch (...) {
            NORIX_LOG("WindowsMeans::RunBeside", 1, "ended by an exception");
        }
    });
}

std::shared_ptr<StepSignal> WindowsMeans::MakeSignal(unsigned step) {
    return std::make_shared<WindowSignal>(m_session, step);
}

bool WindowsMeans::Await(StepSignal& signal, unsigned milliseconds) {
    return util::WaitAnsweringSentMessages(static_cast<WindowSignal&>(signal).Event(), milliseconds);
}

}  // namespace norix
