#pragma once

// Windows: chooses who answers ONVIF questions.

#include <string>

#include "camera/HttpTransport.h"
#include "camera/onvif/OnvifRoute.h"
#include "util/Handles.h"
#include "util/OwnModule.h"

namespace norix {

/// Owns the maker's library, if it lies in `folder` and serves our version of the interface, and the object
/// that answers: the library's, otherwise our own over `transport`, which has to outlive this. The library is
/// looked for nowhere else, and what it needs itself only beside it and in the system's folder. Not to be
/// made or destroyed inside DllMain. One thread at a time.
class OnvifProvider {
  public:
    explicit OnvifProvider(HttpTransport& transport, const std::wstring& folder = util::OwnModuleFolder());

    IKsOnvifMedia& Media() noexcept { return *m_media; }
    bool IsMakers() const noexcept { return static_cast<bool>(m_library); }

  private:
    util::UniqueModule m_library;  // before the object, which must go first
    OnvifMediaPtr m_media;
};

}  // namespace norix
