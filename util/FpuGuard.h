#pragma once

// Gives our code the floating-point environment it is compiled for, and the host back its own.
//
// Some hosts unmask x87 exceptions (Delphi and Free Pascal programs) or lower its precision (Direct3D 9):
// code that expects the defaults then traps or miscalculates. Put one of these first in every entry point
// that a host calls and behind which floating point is used:
//
//     const util::FpuGuard fpu;
//
// Costs a few dozen cycles. Belongs to the scope and thread it is made in.

#include <cstdint>

namespace util {

class FpuGuard {
  public:
    FpuGuard() noexcept {
        asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(m_x87Control), "=m"(m_sseControl));
        Load(kX87Default, kSseDefault);
    }
    ~FpuGuard() { Load(m_x87Control, m_sseControl); }
    FpuGuard(const FpuGuard&) = delete;
    FpuGuard& operator=(const FpuGuard&) = delete;

  private:
    // All exceptions masked, round to nearest, and for x87 64 bits of mantissa.
    static constexpr uint16_t kX87Default = 0x037F;
    static constexpr uint32_t kSseDefault = 0x1F80;

    // Exceptions that are still pending are dropped first: unmasking one would raise it in the host's next
    // floating-point instruction.
    static void Load(uint16_t x87Control, uint32_t sseControl) noexcept {
        asm volatile("fnclex\n\tfldcw %0\n\tldmxcsr %1" : : "m"(x87Control), "m"(sseControl) : "memory");
    }

    uint16_t m_x87Control;
    uint32_t m_sseControl;
};

}  // namespace util
