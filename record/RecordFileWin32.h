#pragma once

#include <windows.h>

#include <string>

#include "record/RecordFile.h"
#include "util/Handles.h"

namespace norix {

/// A recording's file on this system. Every call blocks for as long as the disk or share does.
class RecordFileWin32 final : public RecordFile {
  public:
    RecordFileWin32(util::UniqueFile file, std::wstring path)
        : m_file(std::move(file)), m_path(std::move(path)) {}

    FileResult Write(std::uint64_t position, RecordBytes bytes) override;
    FileResult Flush() override;
    FileResult Close() override;
    void Discard() override;

  private:
    util::UniqueFile m_file;
    const std::wstring m_path;
};

/// What an error of the system means for a recording.
FileResult FileResultOf(DWORD error);

}  // namespace norix
