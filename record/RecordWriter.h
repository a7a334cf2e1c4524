#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "media/CountingSemaphore.h"
#include "record/AviRecording.h"
#include "record/RecordEnvironment.h"
#include "record/RecordQueue.h"

namespace norix {

/// Where files go and what they are called, as the host has said last.
struct RecordNaming {
    std::wstring folder;
    std::wstring fileName;
    bool manual = false;  // `fileName` is used, with its extension
};

/// A file that is to be opened.
struct FileRequest {
    RecordFormat format = RecordFormat::Avi;
    AviDescription description;
    std::optional<FrameRate> rate;
};

/// A raw file: frames one behind the other.
class RawRecording {
  public:
    void Create(std::unique_ptr<RecordFile> file);
    FileResult Put(RecordBytes frame);
    FileResult SafePoint();
    FileResult Finish();
    /// Closes the file after an error; one in which nothing was written goes.
    void Abandon();

  private:
    FileResult Write(RecordBytes bytes);
    FileResult WriteOut();

    std::unique_ptr<RecordFile> m_file;
    std::vector<std::uint8_t> m_staging;
    std::uint64_t m_written = 0;
};

/// The file side of a recording: takes what the controller has queued, writes it and reports what comes of
/// it. Everything that can block on disk or host happens here.
class RecordWriter {
  public:
    RecordWriter(RecordEnvironment& environment, RecordQueue& queue);
    ~RecordWriter();
    RecordWriter(const RecordWriter&) = delete;
    RecordWriter& operator=(const RecordWriter&) = delete;

    // ---- The writer's thread

    /// Does what is queued and what is due; waits at most so long for something to do.
    void Step(std::uint32_t milliseconds);
    /// Finishes a file that is still open.
    void CloseFile();

    // ---- Any thread

    void SetNaming(RecordNaming naming);
    /// The host has answered a question for a file's name, by SetNaming.
    void OnNameAnswered();
    /// Ends waiting for an answer: without one, the next file gets an automatic name. Until the next
    /// question.
    void StopWaiting();

    /// The last file that could not be opened, or written on: the frames that are still queued for it are
    /// lost, and another one is to be opened.
    std::uint32_t FailedFile() const { return m_failedFile.load(); }
    /// The last file whose rate the stream has outgrown.
    std::uint32_t OutgrownFile() const { return m_outgrownFile.load(); }
    /// Whether nothing is queued and nothing is being written.
    bool IsIdle() const { return m_queue.Empty() && !m_busy.load(); }
    /// Whether a file was open when an entry last asked for its end without a report.
    bool ClosedQuietly() const { return m_closedQuietly.load(); }

  private:
    void Do(const RecordEntry& entry);
    void Open(const RecordEntry& entry);
    void Put(const RecordEntry& entry);
    void Close(bool askName);
    void Fail(FileResult result, bool creating);
    std::wstring NextName(const RecordNaming& naming, const LocalTime& time, bool answered, bool& whole);
    bool WaitForAnswer();
    void SafePointIfDue();

    RecordEnvironment& m_environment;
    RecordQueue& m_queue;

    // writer's thread only
    std::uint32_t m_file = 0;  // 0: none is open
    std::optional<RecordFormat> m_format;
    AviRecording m_avi;
    RawRecording m_raw;
    std::uint32_t m_safePoint = 0;
    bool m_safe = false;  // nothing was written since the last safe point
    std::optional<RecordStatus> m_reportedFailure;
    bool m_asked = false;

    // any thread
    mutable std::mutex m_lock;
    RecordNaming m_naming;  // guarded by m_lock
    CountingSemaphore m_answered{1};
    std::atomic<bool> m_hasAnswer{false};  // to the last question
    std::atomic<bool> m_dontWait{false};
    std::atomic<std::uint32_t> m_failedFile{0};
    std::atomic<std::uint32_t> m_outgrownFile{0};
    std::atomic<bool> m_busy{false};
    std::atomic<bool> m_closedQuietly{false};
};

}  // namespace norix
