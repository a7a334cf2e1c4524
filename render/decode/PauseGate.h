#pragma once

#include <condition_variable>
#include <mutex>

namespace norix {

/// Holds one thread at a place of its own choosing while another changes what it works with. The held thread
/// never stops inside a library or with a lock taken, as it might if it were suspended from outside.
///
/// The worker registers with a Worker object and calls Pass() regularly; the other side holds it with a Pause
/// object. One worker and one pauser.
class PauseGate {
  public:
    /// The worker's side: for as long as its loop runs.
    class Worker {
      public:
        explicit Worker(PauseGate& gate) : m_gate(gate) { m_gate.Enter(); }
        ~Worker() { m_gate.Leave(); }
        Worker(const Worker&) = delete;
        Worker& operator=(const Worker&) = delete;

        /// Returns at once, or when the pause is over.
        void Pass() { m_gate.Pass(); }

      private:
        PauseGate& m_gate;
    };

    /// The other side: while it lives and is true the worker is held, or there is none. False after Close.
    class Pause {
      public:
        explicit Pause(PauseGate& gate) : m_gate(gate), m_held(gate.Hold()) {}
        ~Pause() {
            if (m_held) m_gate.Resume();
        }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

        explicit operator bool() const { return m_held; }

      private:
        PauseGate& m_gate;
        const bool m_held;
    };

    /// No more pauses; one that waits for the worker gives up, one in force stays. Any thread.
    void Close();

  private:
    void Enter();
    void Leave();
    void Pass();
    bool Hold();
    void Resume();

    std::mutex m_lock;
    std::condition_variable m_changed;
    // guarded by m_lock
    bool m_running = false;  // there is a worker
    bool m_wanted = false;   // it is to be held
    bool m_parked = false;   // it is held
    bool m_closed = false;
};

}  // namespace norix
