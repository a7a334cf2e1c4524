#pragma once

#include <cstdint>
#include <functional>

namespace norix {

/// Runs the body on a thread of its own and waits for it while `patience` answers a number of milliseconds
/// above 0; it is asked again when these are over. True when the body has returned. Otherwise the thread is
/// abandoned: it runs on until the body returns by itself, and keeps this module loaded; so the body owns or
/// shares what it touches. False also when no thread could be started, or kMaxBoundedCalls run already.
///
/// The body must not throw. Not to be called from DllMain.
bool RunBounded(std::function<void()> body, const std::function<std::uint32_t()>& patience);

inline constexpr int kMaxBoundedCalls = 64;

}  // namespace norix
