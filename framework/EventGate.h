#pragma once

#include <windows.h>

#include <oaidl.h>

#include <deque>
#include <span>
#include <vector>

namespace framework {

class COleControl;

/// Passes events to the host's sinks, and holds them back while the host has frozen them
/// (IOleControl::FreezeEvents). Window thread only.
class EventGate {
  public:
    explicit EventGate(COleControl& owner) : m_owner(owner) {}
    ~EventGate();
    EventGate(const EventGate&) = delete;
    EventGate& operator=(const EventGate&) = delete;

    /// `arguments` stand in reverse order, as IDispatch takes them; the caller keeps them.
    void Fire(DISPID id, std::span<VARIANT> arguments);

    void Freeze() { ++m_frozen; }
    /// The last of nested thaws delivers what was held back, in order.
    void Thaw();

  private:
    struct Held {
        DISPID id;
        std::vector<VARIANT> arguments;
    };

    void Deliver(DISPID id, std::span<VARIANT> arguments);
    void Hold(DISPID id, std::span<VARIANT> arguments);
    static void Clear(Held& held);

    COleControl& m_owner;
    unsigned m_frozen = 0;
    bool m_thawing = false;  // inside Thaw's deliveries
    std::deque<Held> m_held;
};

}  // namespace framework
