#include "util/FpuGuard.h"

#include <windows.h>

namespace util {
namespace {

// Not thread_local: its memory would stay with the host's threads when the host frees the module.
class Slot {
  public:
    Slot() : m_index(TlsAlloc()) {}
    ~Slot() {
        if (m_index != TLS_OUT_OF_INDEXES) TlsFree(m_index);
    }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

    const void* Exchange(const void* value) const noexcept {
        if (m_index == TLS_OUT_OF_INDEXES) return nullptr;
        const DWORD error = GetLastError();  // reading clears it
        const void* const before = TlsGetValue(m_index);
        TlsSetValue(m_index, const_cast<void*>(value));
        SetLastError(error);
        return before;
    }

  private:
    const DWORD m_index;
};

const Slot g_guard;

}  // namespace

const FpuGuard* FpuGuard::Exchange(const FpuGuard* guard) noexcept {
    return static_cast<const FpuGuard*>(g_guard.Exchange(guard));
}

}  // namespace util
