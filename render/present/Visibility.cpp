#include "render/present/Visibility.h"

#include "util/Handles.h"

namespace norix {

bool IsWindowSeen(HWND window) {
    if (!IsWindowVisible(window) || IsIconic(GetAncestor(window, GA_ROOT))) return false;
    const util::WindowDc dc(window);
    RECT seen;
    return dc && GetClipBox(dc.Get(), &seen) != NULLREGION;
}

}  // namespace norix
