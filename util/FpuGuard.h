#pragma once

// Gives our code the floating-point environment it is compiled for, and the host back its own.
//
// Some hosts unmask x87 exceptions (Delphi and Free Pascal programs) or lower its precision (Direct3D 9):
// code that expects the defaults then traps or miscalculates. Put one of these first in every entry point
// that a host calls and behind which floating point is used:
//
//     const util::FpuGuard fpu;
//
// Where the host's own code runs inside such an entry point, as an event handler does, it gets its
// environment back for that long:
//
//     const util::HostFpu fpu;
//     sink.Invoke(...);
//
// Costs a few dozen cycles. Belongs to the scope and thread it is made in.

#include <cstdint>

namespace util {

class FpuGuard {
  public:
    FpuGuard() noexcept : m_outer(Exchange(nullptr)) {
        asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(m_x87Control), "=m"(m_sseControl));
        Load(kX87Default, kSseDefault);
        // One inside of another finds our environment, not the host's.
        Exchange(m_outer != nullptr ? m_outer : this);
    }
    ~FpuGuard() {
        Exchange(m_outer);
        Load(m_x87Control, m_sseControl);
    }
    FpuGuard(const FpuGuard&) = delete;
    FpuGuard& operator=(const FpuGuard&) = delete;

  private:
    friend class HostFpu;

    /// The guard that keeps the host's environment on this thread, null while the host's code runs.
    static const FpuGuard* Exchange(const FpuGuard* guard) noexcept;

    // All exceptions masked, round to nearest, and for x87 64 bits of mantissa.
    static constexpr uint16_t kX87Default = 0x037F;
    static constexpr uint32_t kSseDefault = 0x1F80;

    // Exceptions that are still pending are dropped first: unmasking one would raise it in the host's next
    // floating-point instruction.
    static void Load(uint16_t x87Control, uint32_t sseControl) noexcept {
        asm volatile("fnclex\n\tfldcw %0\n\tldmxcsr %1" : : "m"(x87Control), "m"(sseControl) : "memory");
    }

    const FpuGuard* const m_outer;
    uint16_t m_x87Control;
    uint32_t m_sseControl;
};

/// The host's environment inside of a FpuGuard's scope.
class HostFpu {
  public:
    HostFpu() noexcept : m_guard(FpuGuard::Exchange(nullptr)) {
        if (m_guard != nullptr) FpuGuard::Load(m_guard->m_x87Control, m_guard->m_sseControl);
    }
    ~HostFpu() {
        if (m_guard == nullptr) return;
        FpuGuard::Load(FpuGuard::kX87Default, FpuGuard::kSseDefault);
        FpuGuard::Exchange(m_guard);
    }
    HostFpu(const HostFpu&) = delete;
    HostFpu& operator=(const HostFpu&) = delete;

  private:
    const FpuGuard* const m_guard;
};

}  // namespace util
