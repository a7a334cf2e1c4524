#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "media/Shared.h"
#include "util/TrustLevel.h"

namespace norix {

/// What the host asked to have saved or delivered. Each request is served once, by the thread that next holds
/// a suitable picture; one that comes before an earlier one was served replaces it.
class SnapshotRequests {
  public:
    struct File {
        std::wstring folder{};
        std::wstring name{};  // without extension
        util::TrustLevel level = util::TrustLevel::kTrusted;
        std::wstring root{};  // for a page: the folder picked for it
        bool timed = false;   // the name is ours: a file that has it was saved in the same moment, and stays
    };

    /// Window thread.
    void RequestFile(File file) {
        std::lock_guard<std::mutex> lock(m_lock);
        m_file = std::move(file);
        m_fileWanted.Set(true);
    }
    void RequestData(std::int32_t format) {
        std::lock_guard<std::mutex> lock(m_lock);
        m_dataFormat = format;
        m_dataWanted.Set(true);
    }

    /// Requests for data wait meanwhile.
    void HoldData(bool hold) { m_dataHeld.Set(hold); }
    /// Those that no picture has served are served by none.
    void Forget() {
        std::lock_guard<std::mutex> lock(m_lock);
        m_fileWanted.Set(false);
        m_dataWanted.Set(false);
    }

    /// Decode and display thread, for every picture: a flag test while nothing is wanted.
    bool FileWanted() const { return m_fileWanted.Get(); }
    bool DataWanted() const { return m_dataWanted.Get() && !m_dataHeld.Get(); }

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
    Shared<bool> m_dataHeld{false};
    File m_file;
    std::int32_t m_dataFormat = 0;
};

}  // namespace norix
