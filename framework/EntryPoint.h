#pragma once

#include <windows.h>

#include <new>
#include <utility>

#include "util/FpuGuard.h"

namespace framework {

/// An error that travels inside the module as an exception and leaves it as its HRESULT.
struct HResultError {
    HRESULT code;
};

/// Turns whatever `body` does into an HRESULT: no exception may cross a COM boundary. The floating point
/// environment of the host (some unmask x87 exceptions) is replaced while `body` runs.
template <class Body>
HRESULT Guarded(Body&& body) noexcept {
    const util::FpuGuard fpu;
    try {
        return std::forward<Body>(body)();
    } catch (const HResultError& error) {
        return error.code;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

/// Keeps a COM object alive for the current scope: a host may drop its last reference from inside an event
/// handler, that is, while one of the object's own methods is on the stack.
template <class Object>
class KeepAlive {
  public:
    explicit KeepAlive(Object& object) : m_object(object) { m_object.AddRef(); }
    ~KeepAlive() { m_object.Release(); }
    KeepAlive(const KeepAlive&) = delete;
    KeepAlive& operator=(const KeepAlive&) = delete;

  private:
    Object& m_object;
};

/// Guarded with the object kept alive until the call has left it.
template <class Object, class Body>
HRESULT GuardedCall(Object& object, Body&& body) noexcept {
    const KeepAlive<Object> keep(object);
    return Guarded(std::forward<Body>(body));
}

}  // namespace framework
