#pragma once

#include <string>

// A file that the build has made, found from the running test program: it lies in the build folder, or at the
// given place below it. Just the name where it cannot be found.
std::wstring FindBuiltFile(const std::wstring& name);
