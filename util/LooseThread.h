#pragma once

#include <functional>

namespace util {

inline constexpr int kMaxLooseThreads = 64;

/// Runs the body on a thread that nobody waits for and that keeps this module loaded until the body has
/// returned; so the body owns or shares what it touches. It must not throw. False when the system refuses a
/// thread, or kMaxLooseThreads run already: what can get stuck must not take the whole address space. Any
/// thread.
bool StartLooseThread(std::function<void()> body);

}  // namespace util
