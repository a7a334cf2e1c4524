#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "control/connection/ConnectionMeans.h"

namespace norix {

/// Asks a control's camera for key frames, one request at a time: of those that come while one is under way
/// only the newest is made after it. So a camera that does not answer holds one thread, not one for each
/// request. Shared by the window's thread and the one that asks.
class KeyFrameRequests : public std::enable_shared_from_this<KeyFrameRequests> {
  public:
    /// Window thread. `request` blocks, and owns or shares what it uses.
    void Ask(ConnectionMeans& means, std::function<void()> request);

  private:
    std::function<void()> TakeNext();
    void Forget();

    std::mutex m_lock;  // guards what follows
    std::function<void()> m_next;
    bool m_asking = false;  // there is a thread that takes what is next
};

}  // namespace norix
