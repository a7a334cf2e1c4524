#pragma once

// Runs the test program once more, as it finds itself on another system. Under Wine only, where a program's
// Windows version and desktop are settings.

#include <windows.h>

#include <string>

namespace norix {

class OtherSystem {
  public:
    OtherSystem();
    ~OtherSystem();
    OtherSystem(const OtherSystem&) = delete;
    OtherSystem& operator=(const OtherSystem&) = delete;

    bool IsPossible() const { return !m_key.empty(); }

    void SetWindowsVersion(const wchar_t* version);
    // A desktop in a window of its own, whose display mode can be changed.
    void SetDesktop(int width, int height);

    // The program's exit code; MAXDWORD when it did not start or end in time.
    DWORD Run(const std::wstring& arguments) const;

  private:
    std::wstring m_program;
    std::wstring m_key;
    std::wstring m_desktop;
};

}  // namespace norix
