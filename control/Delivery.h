#pragma once

#include <windows.h>

#include <oaidl.h>

#include <cstddef>

namespace norix {

/// Lets one kind of notification reach the host only when the host has left its handler for the one before.
///
/// Everything here runs on the window thread. A delivery that is still under way is therefore further up on
/// this thread's stack (the handler runs a message loop), and waiting for it could only run into its time
/// limit: the notification is dropped at once instead.
class DeliveryGate {
  public:
    /// From the connection's start to its end; closed, nothing is delivered.
    void Open() { m_open = true; }
    void Close() { m_open = false; }

    /// Runs `fire` unless the gate is closed or the host is inside it already.
    template <class Fire>
    void Deliver(Fire&& fire) {
        if (!m_open || m_busy) return;
        const Busy busy(m_busy);
        fire();
    }

  private:
    class Busy {
      public:
        explicit Busy(bool& flag) : m_flag(flag) { m_flag = true; }
        ~Busy() { m_flag = false; }
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;

      private:
        bool& m_flag;
    };

    bool m_open = false;
    bool m_busy = false;
};

/// Bytes as automation passes them: a one-dimensional array of VT_UI1 with lower bound 0, inside a variant
/// that owns it.
class ByteArrayVariant {
  public:
    /// Copies the bytes. Throws std::bad_alloc.
    ByteArrayVariant(const void* bytes, std::size_t size);
    ~ByteArrayVariant();
    ByteArrayVariant(const ByteArrayVariant&) = delete;
    ByteArrayVariant& operator=(const ByteArrayVariant&) = delete;

    VARIANT* Get() { return &m_value; }

  private:
    VARIANT m_value;
};

}  // namespace norix
