#include "record/RecordWriter.h"

#include <exception>
#include <utility>

#include "util/Log.h"

namespace norix {
namespace {

// Two of these may be lost when the power fails: the header follows what it describes by one.
constexpr std::uint32_t kSafePointMs = 900;
// How long frames wait for the host to name their file.
constexpr std::uint32_t kAnswerMs = 5000;

}  // namespace

void RawRecording::Create(std::unique_ptr<RecordFile> file) {
    m_file = std::move(file);
    m_staging.clear();
    m_staging.reserve(AviWriter::kStagingSize);
    m_written = 0;
}

FileResult RawRecording::WriteOut() {
    if (m_staging.empty()) return FileResult::Ok;
    const FileResult result = Write(m_staging);
    m_staging.clear();
    return result;
}

FileResult RawRecording::Write(RecordBytes bytes) {
    const FileResult result = m_file->Write(m_written, bytes);
    if (result == FileResult::Ok) m_written += bytes.size();
    return result;
}

FileResult RawRecording::Put(RecordBytes frame) {
    if (m_staging.size() + frame.size() > m_staging.capacity()) {
        if (const FileResult result = WriteOut(); result != FileResult::Ok) return result;
    }
    if (frame.size() > m_staging.capacity()) return Write(frame);
    m_staging.insert(m_staging.end(), frame.begin(), frame.end());
    return FileResult::Ok;
}

FileResult RawRecording::SafePoint() {
    const FileResult result = WriteOut();
    return result == FileResult::Ok ? m_file->Flush() : result;
}

FileResult RawRecording::Finish() {
    FileResult result = SafePoint();
    const FileResult closed = m_file->Close();
    m_file.reset();
    return result == FileResult::Ok ? closed : result;
}

void RawRecording::Abandon() {
    if (m_file && m_written == 0) m_file->Discard();
    m_file.reset();
}

RecordWriter::RecordWriter(RecordEnvironment& environment, RecordQueue& queue)
    : m_environment(environment), m_queue(queue) {}

RecordWriter::~RecordWriter() = default;

// ---- Any thread

void RecordWriter::SetNaming(RecordNaming naming) {
    std::lock_guard<std::mutex> lock(m_lock);
    std::swap(m_naming, naming);
}

void RecordWriter::OnNameAnswered() {
    m_hasAnswer.store(true);
    m_answered.Release();
}

void RecordWriter::StopWaiting() {
    m_dontWait.store(true);
    m_answered.Release();
}

// ---- The writer's thread

void RecordWriter::Step(std::uint32_t milliseconds) {
    RecordEntry entry;
    if (m_queue.Wait(milliseconds, entry)) {
        m_busy.store(true);
        try {
            Do(entry);
        } catch (const std::exception&) {  // memory is short
            Fail(FileResult::Failed, !m_format);
        }
        m_queue.Pop();
    }
    if (m_file != 0) {
        m_busy.store(true);
        SafePointIfDue();
    }
    m_busy.store(false);
}

void RecordWriter::Do(const RecordEntry& entry) {
    switch (entry.kind) {
        case RecordEntry::Kind::Open:
            Open(entry);
            break;
        case RecordEntry::Kind::Video:
        case RecordEntry::Kind::Audio:
            if (entry.file == m_file) Put(entry);
            break;
        case RecordEntry::Kind::Close: {
            const bool open = m_file != 0 && entry.file == m_file;
            if (!entry.report) m_closedQuietly.store(open);
            if (!open) break;
            Close(true);
            if (entry.report) m_environment.Report(RecordStatus::Stopped);
            break;
        }
    }
}

// What the host has answered is the next file's name; without an answer, or a name, the time is.
std::wstring RecordWriter::NextName(const RecordNaming& naming, const LocalTime& time, bool answered,
                                    bool& whole) {
    whole = naming.manual && answered && !naming.fileName.empty();
    if (whole) return naming.fileName;
    const std::wstring format = m_environment.NameFormat();
    return format.empty() ? AutomaticName(time) : WithoutBadCharacters(ExpandNameFormat(format, time));
}

bool RecordWriter::WaitForAnswer() {
    if (!std::exchange(m_asked, false)) return true;
    if (!m_dontWait.load()) m_answered.Acquire(kAnswerMs);
    return m_hasAnswer.load();
}

void RecordWriter::Open(const RecordEntry& entry) {
    if (m_file != 0) Close(true);
    m_file = entry.file;
    const bool answered = WaitForAnswer();
    RecordNaming naming;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        naming = m_naming;
    }
    const FileRequest& request = *entry.request;
    bool whole = false;
    const std::wstring name = NextName(naming, m_environment.Now(), answered, whole);
    const wchar_t* const extension = whole ? L"" : (request.format == RecordFormat::Avi ? L".avi" : L".pes");
    RecordEnvironment::Created created = m_environment.Create(naming.folder, name, extension);
    FileResult result = created.result;
    if (result != FileResult::Ok) {
        Fail(result, true);
        return;
    }
    m_format = request.format;
    m_safePoint = m_environment.NowMs();
    if (request.format == RecordFormat::Avi) {
        result = m_avi.Create(std::move(created.file), request.description, request.rate, entry.time);
    } else {
        m_raw.Create(std::move(created.file));
    }
    if (result != FileResult::Ok) {
        Fail(result, false);
        return;
    }
    m_safe = false;
    m_environment.Report(RecordStatus::Started);
}

void RecordWriter::Put(const RecordEntry& entry) {
    const RecordBytes bytes = m_queue.Bytes(entry);
    const bool video = entry.kind == RecordEntry::Kind::Video;
    FileResult result = FileResult::Ok;
    m_safe = false;
    if (m_format == RecordFormat::Avi) {
        result = video ? m_avi.PutVideo(bytes, entry.keyFrame, entry.continues, entry.time)
                       : m_avi.PutAudio(bytes, entry.time);
    } else if (m_format == RecordFormat::Raw) {
        result = m_raw.Put(bytes);
    }
    if (result != FileResult::Ok) {
        Fail(result, false);
        return;
    }
    if (m_format != RecordFormat::Avi) return;
    m_environment.Report(RecordStatus::Recording);
    if (m_avi.IsBehind()) m_outgrownFile.store(entry.file);
    if (m_avi.IsFull()) {
        // The controller rotates long before; whoever gets here has gaps of hours to fill.
        m_failedFile.store(entry.file);
        Close(true);
    }
}

void RecordWriter::SafePointIfDue() {
    const std::uint32_t now = m_environment.NowMs();
    if (now - m_safePoint < kSafePointMs) return;
    m_safePoint = now;
    if (std::exchange(m_safe, true)) return;
    FileResult result = FileResult::Ok;
    if (m_format == RecordFormat::Avi) result = m_avi.SafePoint();
    if (m_format == RecordFormat::Raw) result = m_raw.SafePoint();
    if (result != FileResult::Ok) {
        Fail(result, false);
    } else {
        m_reportedFailure.reset();
    }
}

void RecordWriter::Close(bool askName) {
    FileResult result = FileResult::Ok;
    if (m_format == RecordFormat::Avi) {
        result = m_avi.Finish();
    } else {
        result = m_raw.Finish();
    }
    if (result != FileResult::Ok) {
        Fail(result, false);
    } else {
        m_reportedFailure.reset();
    }
    m_file = 0;
    m_format.reset();
    if (!askName || m_asked) return;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (!m_naming.manual) return;
    }
    m_answered.Acquire(0);
    m_hasAnswer.store(false);
    m_dontWait.store(false);
    const RecordEnvironment::Question question = m_environment.AskFileName(m_environment.Now());
    m_asked = question != RecordEnvironment::Question::NobodyThere;
    if (question == RecordEnvironment::Question::Unanswered) m_dontWait.store(true);
}

void RecordWriter::CloseFile() {
    if (m_file != 0) Close(false);
}

// The host hears of each kind of failure once, until a file has been written to again.
void RecordWriter::Fail(FileResult result, bool creating) {
    if (m_format == RecordFormat::Avi) m_avi.Abandon();
    m_raw.Abandon();
    m_format.reset();
    if (m_file != 0) m_failedFile.store(m_file);
    m_file = 0;
    RecordStatus status = creating ? RecordStatus::FileCreateFailed : RecordStatus::FileWriteFailed;
    if (result == FileResult::NoFolder) status = RecordStatus::PathInvalid;
    if (result == FileResult::DiskFull) status = RecordStatus::DiskFull;
    NORIX_LOG("CCtrlParam::RecMedia", 0, "recording: %s failed, status %d",
              creating ? "creating a file" : "writing", static_cast<int>(status));
    if (m_reportedFailure == status) return;
    m_reportedFailure = status;
    m_environment.Report(status);
}

}  // namespace norix
