#include "render/overlay/GraphicHandles.h"

#include <limits>

namespace norix {

long GraphicHandles::Register(CGraphicObject* object) {
    const std::lock_guard lock(m_lock);
    long handle = m_last;
    do {
        // Negative numbers are error codes to the host.
        handle = handle == std::numeric_limits<long>::max() ? 0 : handle + 1;
    } while (m_living.contains(handle));
    m_living.emplace(handle, object);
    m_last = handle;
    return handle;
}

void GraphicHandles::Unregister(long handle) noexcept {
    const std::lock_guard lock(m_lock);
    m_living.erase(handle);
}

GraphicHandles& GraphicHandles::OfProcess() {
    static GraphicHandles handles;
    return handles;
}

}  // namespace norix
