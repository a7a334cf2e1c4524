#pragma once

#include <windows.h>

namespace norix {

/// False where nothing that is drawn in the window could be seen: it is hidden, minimised, of no size,
/// scrolled out of its parents or covered by other windows, as far as the system keeps account of that. A
/// desktop that is composed doesn't: there a covered window counts as seen. Also false for what is no window.
/// Any thread.
bool IsWindowSeen(HWND window);

}  // namespace norix
