#pragma once

// By what a connection does its work: receivers, the camera's services, threads, saved sign-ins. Made from
// outside, so that the workflow runs on any system with means of a test's own.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "camera/HttpTransport.h"
#include "camera/onvif/KsOnvif.h"
#include "control/connection/SignIn.h"
#include "control/connection/StreamReception.h"

#include "protocol/Origin.h"

namespace norix {

/// What asks a camera's web server. Made anew for every conversation that runs beside the window's thread, so
/// that one that is stuck holds up nobody else. One thread at a time.
class CameraServices {
  public:
    virtual ~CameraServices() = default;
    virtual HttpTransport& Transport() = 0;
    /// Made when first asked for: the maker's library is looked for then.
    virtual IKsOnvifMedia& Onvif() = 0;
};

/// The end of one step of connecting, told by the thread that did it.
class StepSignal {
  public:
    virtual ~StepSignal() = default;
    /// Any thread, once. Has Connection::OnStepDone called by the window's thread, and ends a wait for it.
    virtual void Done() = 0;
    /// Whether Done has been called: the call of OnStepDone may get lost where the window's queue is full.
    /// Window thread; then it sees what the other thread did before.
    virtual bool IsDone() const = 0;
};

/// Window thread.
class ConnectionMeans {
  public:
    virtual std::shared_ptr<StreamReception> MakeReception() = 0;
    virtual std::shared_ptr<CameraServices> MakeCameraServices() = 0;

    virtual std::optional<SignIn> LoadSignIn(const protocol::Origin& origin) = 0;
    virtual void SaveSignIn(const protocol::Origin& origin, const SignIn& signIn) = 0;

    /// Runs the body on a thread that nobody waits for; it owns or shares what it touches. False when none is
    /// to be had.
    virtual bool RunBeside(std::function<void()> body) = 0;
    virtual std::shared_ptr<StepSignal> MakeSignal(unsigned step) = 0;
    /// Waits for a signal, answering the messages that other threads send; false when it does not come in
    /// time.
    virtual bool Await(StepSignal& signal, unsigned milliseconds) = 0;

  protected:
    ~ConnectionMeans() = default;
};

}  // namespace norix
