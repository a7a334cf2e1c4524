#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "media/Shared.h"

namespace norix {

/// What the host asked to have saved or delivered. Each request is served once, by the thread that next holds
/// a suitable picture; one that comes before an earlier one was served replaces it.
class SnapshotRequests {
  public:
    struct File {
        std::wstring folder;
        std::wstring name;  // without extension
    };

    /// Window thread.
    void RequestFile(std::wstring folder, std::wstring name) {
        std::lock_guard<std::mutex> lock(m_lock);
        m_file = File{std::move(folder), std::move(name)};
        m_fileWanted.Set(true);
    }
    void RequestData(std::int32_t format) {
        std::lock_guard<std::mutex> lock(m_lock);
        m_dataFormat = format;
        m_dataWanted.Set(true);
    }

    /// Decode and display thread, for every picture: a flag test while nothing is wanted.
    bool FileWanted() const { return m_fileWanted.Get(); }
    bool DataWanted() const { return m_dataWanted.Get(); }

    /// Gives the request and clears it.
    std::optional<File> TakeFile() {
        std::lock_guard<std::mutex> lock(m_lock);
        if (!m_fileWanted.Exchange(false)) return std::nullopt;
        return std::move(m_file);
    }
    std::optional<std::int32_t> TakeData() {
        std::lock_guard<std::mutex> lock(m_lock);
        if (!m_dataWanted.Exchange(false)) return std::nullopt;
        return m_dataFormat;
    }

  private:
    std::mutex m_lock;
    // guarded by m_lock, except for a first look at the flags
    Shared<bool> m_fileWanted{false};
    Shared<bool> m_dataWanted{false};
    File m_file;
    std::int32_t m_dataFormat = 0;
};

}  // namespace norix
