#pragma once

#include <map>
#include <mutex>

namespace norix {

class CGraphicObject;

/// Numbers the graphic objects of the whole process, so that a handle means one object whichever control it
/// was drawn in: 0, 1, 2... A number is given again only after all others have been, and never to a second
/// living object. Any thread.
class GraphicHandles {
  public:
    /// Throws std::bad_alloc.
    long Register(CGraphicObject* object);
    void Unregister(long handle) noexcept;

    static GraphicHandles& OfProcess();

  private:
    std::mutex m_lock;
    // guarded by m_lock
    long m_last = -1;
    std::map<long, CGraphicObject*> m_living;
};

}  // namespace norix
