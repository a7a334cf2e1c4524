#pragma once

#include <windows.h>

#include <memory>

namespace norix {

class CDecoder;

/// What the commands on the view need of the control. Window thread.
class ViewHost {
  public:
    /// The window that shows the pictures; null while there is none.
    virtual HWND Window() const = 0;
    /// The connection's decoder; null while there is none.
    virtual std::shared_ptr<CDecoder> Decoder() = 0;

  protected:
    ~ViewHost() = default;
};

}  // namespace norix
