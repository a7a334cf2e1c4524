#include "record/Recorder.h"

#include <atomic>
#include <cstddef>
#include <new>

#include "media/ControlMessages.h"
#include "media/MediaPlatform.h"
#include "record/DiskSpace.h"
#include "record/RecordFileWin32.h"
#include "util/FileOpener.h"
#include "util/Log.h"
#include "util/Settings.h"
#include "util/Text.h"

namespace norix {
namespace {

// A SYSTEMTIME travels with WM_OnRequestFileName.
static_assert(sizeof(LocalTime) == sizeof(SYSTEMTIME) &&
              offsetof(LocalTime, milliseconds) == offsetof(SYSTEMTIME, wMilliseconds));

constexpr std::uint32_t kIdleMs = 250;
constexpr std::uint32_t kDiskWatchMs = 1000;
// How long the window's thread waits for a file to be finished, and the writer for the window.
constexpr std::uint32_t kFinishMs = 5000;

// The module's file with the extension ".ini".
std::wstring IniFile() {
    static const int here = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&here), &module);
    constexpr DWORD kLongestPath = 32768;
    std::wstring path(kLongestPath, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), kLongestPath));
    const std::size_t name = path.find_last_of(L"\\/");
    const std::size_t dot = path.find_last_of(L'.');
    if (dot != std::wstring::npos && (name == std::wstring::npos || dot > name)) path.resize(dot);
    return path + L".ini";
}

}  // namespace

// What the recorder, its thread and the receiving threads share. The thread may outlive the control, and so
// keeps the parameter block.
class Recorder::Session final : public RecordEnvironment {
  public:
    explicit Session(std::shared_ptr<CCtrlParam> shared)
        : param(std::move(shared)), controller(*param, *this, queue, writer) {}

    void Run(util::StopToken& stop);

    std::uint32_t NowMs() override { return platform::TimerMs(); }
    void Report(RecordStatus status) override {
        const HWND to = param->window.Get();
        if (!to) return;
        // A host that is slower than the frames would find its queue full of these.
        const bool perFrame = status == RecordStatus::Recording;
        if (perFrame && recordingOnItsWay.Exchange(true)) return;
        if (!PostMessageW(to, WM_OnRecordStatus, static_cast<WPARAM>(status), 0) && perFrame)
            recordingOnItsWay.Set(false);
    }
    void WishKeyFrame() override {
        param->window.Post(WM_OnForceI, static_cast<WPARAM>(channel.Get()),
                           static_cast<LPARAM>(stream.Get()));
    }
    LocalTime Now() override {
        SYSTEMTIME now = {};
        GetLocalTime(&now);
        return {now.wYear, now.wMonth,  now.wDayOfWeek, now.wDay,
                now.wHour, now.wMinute, now.wSecond,    now.wMilliseconds};
    }
    std::wstring NameFormat() override;
    Question AskFileName(const LocalTime& time) override;
    Created Create(const std::wstring& folder, const std::wstring& name,
                   const std::wstring& extension) override;

    const std::shared_ptr<CCtrlParam> param;

    // written by the window thread
    Shared<long> channel{1};
    Shared<long> stream{1};
    Guarded<std::wstring> folder;
    Shared<util::TrustLevel> level{util::TrustLevel::kTrusted};
    Guarded<std::wstring> root;

    // written by the writer's thread
    Shared<bool> diskFull{false};
    std::atomic<unsigned> wishes{0};        // how often recording was begun; any thread
    Shared<bool> recordingOnItsWay{false};  // cleared by the window thread

    RecordQueue queue;
    RecordWriter writer{*this, queue};
    RecordController controller;

  private:
    void WatchDisk();

    // writer's thread; the window thread reads the time while it is sent
    LocalTime m_asked;
    std::uint32_t m_diskSeen = 0;
};

void Recorder::Session::Run(util::StopToken& stop) {
    while (!stop.StopRequested() || !queue.Empty()) {
        writer.Step(kIdleMs);
        WatchDisk();
    }
    writer.CloseFile();
}

void Recorder::Session::WatchDisk() {
    if (!controller.IsRecordingRequested()) {
        diskFull.Set(false);
        return;
    }
    const std::uint32_t now = NowMs();
    if (now - m_diskSeen < kDiskWatchMs) return;
    m_diskSeen = now;
    const bool web = level.Get() == util::TrustLevel::kWeb;
    // Asking a share takes its time; the host may want another folder meanwhile.
    const unsigned wish = wishes.load();
    const bool full = IsDiskAlmostFull(web ? root.Get() : folder.Get());
    if (wishes.load() == wish) diskFull.Set(full);
}

std::wstring Recorder::Session::NameFormat() {
    constexpr DWORD kLongest = 256;
    wchar_t format[kLongest] = {};
    GetPrivateProfileStringW(L"Record", L"FileNameFormat", L"", format, kLongest, IniFile().c_str());
    return format;
}

// Without any lock: the host may do anything in its handler. The window's thread may be hanging, and read the
// time after this has given up: it stays where it is for as long as the recorder lives.
RecordEnvironment::Question Recorder::Session::AskFileName(const LocalTime& time) {
    m_asked = time;
    if (!param->window.Get()) return Question::NobodyThere;
    const bool heard = param->window.SendWithin(kFinishMs, WM_OnRequestFileName, &m_asked, nullptr);
    return heard ? Question::Asked : Question::Unanswered;
}

RecordEnvironment::Created Recorder::Session::Create(const std::wstring& path, const std::wstring& name,
                                                     const std::wstring& extension) {
    util::FileWish wish;
    wish.level = level.Get();
    // A program's empty path is no folder; a page's is the one that was picked for it.
    if (path.empty() && wish.level == util::TrustLevel::kTrusted) return {FileResult::NoFolder, nullptr};
    wish.root = root.Get();
    wish.folder = path;
    wish.name = name;
    wish.extension = extension;
    util::OpenedFile opened = util::OpenForWriting(wish, util::Taken::kNumber);
    NORIX_LOG("CCtrlParam::RecMedia", 0, "CCtrlParam::RecMedia() fopen(filepath = %s)",
              util::WideToUtf8(opened.path).c_str());
    if (opened)
        return {FileResult::Ok,
                std::make_unique<RecordFileWin32>(std::move(opened.file), std::move(opened.path))};
    NORIX_LOG("CCtrlParam::RecMedia", 0, "error: file create error %s\n", util::Describe(opened.fault));
    const bool missing = opened.fault == util::FileFault::kNoFolder;
    const FileResult result = missing ? FileResult::NoFolder : FileResultOf(opened.error);
    return {result == FileResult::Ok ? FileResult::Failed : result, nullptr};
}

Recorder::Recorder(std::shared_ptr<CCtrlParam> param)
    : m_session(std::make_shared<Session>(std::move(param))) {
    m_session->param->SetRecorder(std::shared_ptr<MediaRecorder>(m_session, &m_session->controller));
}

Recorder::~Recorder() {
    m_session->param->SetRecorder(nullptr);
    m_session->controller.Suspend();
}

void Recorder::SetStream(long channel, long stream) {
    m_session->channel.Set(channel);
    m_session->stream.Set(stream);
}

void Recorder::SetNaming(const RecordNaming& naming) {
    m_session->folder.Set(naming.folder);
    m_session->writer.SetNaming(naming);
}

void Recorder::SetLimits(const RecordLimits& limits) {
    m_session->controller.SetLimits(limits);
}

void Recorder::SetLevel(util::TrustLevel level) {
    m_session->level.Set(level);
}

void Recorder::SetPageFolder(const std::wstring& folder) {
    m_session->root.Set(folder);
}

bool Recorder::Start(RecordFormat format) {
    if (!m_thread.Started()) {
        try {
            m_session->queue.Reserve(util::Settings::RecordBufferSize());
        } catch (const std::bad_alloc&) {
            return false;
        }
        const auto run = [session = m_session](util::StopToken& stop) { session->Run(stop); };
        if (!m_thread.Start(THREAD_PRIORITY_NORMAL, run)) return false;
    }
    ++m_session->wishes;
    m_session->diskFull.Set(false);  // what was found out then is about an earlier wish
    m_session->controller.Start(format);
    return true;
}

void Recorder::Stop(RecordFormat format) {
    m_session->controller.Stop(format);
}

bool Recorder::IsRequested() const {
    return m_session->controller.IsRecordingRequested();
}

void Recorder::Resume() {
    m_session->controller.Resume();
}

bool Recorder::Suspend() {
    if (!m_session->controller.Suspend()) return false;
    const std::uint32_t begin = platform::TimerMs();
    while (!m_session->writer.IsIdle()) {
        constexpr std::uint32_t kStepMs = 5;
        if (platform::TimerMs() - begin >= kFinishMs) return true;
        platform::AnswerSentMessages(kStepMs);
    }
    return m_session->writer.ClosedQuietly();
}

void Recorder::OnRecordingSeen() {
    m_session->recordingOnItsWay.Set(false);
}

void Recorder::OnNameAnswered() {
    m_session->writer.OnNameAnswered();
}

bool Recorder::IsDiskFull() const {
    return m_session->diskFull.Get();
}

}  // namespace norix
