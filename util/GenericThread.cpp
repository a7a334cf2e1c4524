#include "util/GenericThread.h"

#include <cstdint>
#include <exception>
#include <new>

#include "util/AnsweringWait.h"
#include "util/Log.h"
#include "util/OwnModule.h"
#include "util/StopRule.h"
#include "util/Text.h"

namespace util {
namespace {

// SetThreadDescription came with Windows 10.
void SetCurrentThreadName(const std::string& name) {
    using Function = HRESULT(WINAPI*)(HANDLE, PCWSTR);
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const auto set =
        reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(kernel, "SetThreadDescription")));
    if (set) set(GetCurrentThread(), Utf8ToWide(name).c_str());
}

}  // namespace

// What the new thread is handed, and owns.
struct GenericThread::Launch {
    std::string name;
    int priority;
    Body body;
    std::shared_ptr<StopToken> stop;
    UniqueModule module;

    void Run() noexcept {
        try {
            SetCurrentThreadName(name);
            SetThreadPriority(GetCurrentThread(), priority);
            body(*stop);
        } catch (const std::exception& error) {
            NORIX_LOG("GenericThread::Run", 1, "%s thread ended by an exception: %s", name.c_str(),
                      error.what());
        } catch (...) {
            NORIX_LOG("GenericThread::Run", 1, "%s thread ended by an exception", name.c_str());
        }
    }
};

DWORD WINAPI GenericThread::Main(void* parameter) noexcept {
    HMODULE module = nullptr;
    {
        const std::unique_ptr<Launch> launch(static_cast<Launch*>(parameter));
        launch->Run();
        module = launch->module.Release();
    }  // The body and its captures are gone before the code that destroys them may be.
    if (module) FreeLibraryAndExitThread(module, 0);
    return 0;
}

bool GenericThread::Start(int priority, Body body) {
    if (Started()) return false;
    auto stop = std::make_shared<StopToken>();
    if (!stop->Valid()) return false;
    auto launch =
        std::make_unique<Launch>(Launch{m_name, priority, std::move(body), stop, ReferenceOwnModule()});
    m_handle.Reset(CreateThread(nullptr, 0, &Main, launch.get(), 0, &m_id));
    if (!m_handle) return false;
    static_cast<void>(launch.release());  // the thread's now
    m_stop = std::move(stop);
    return true;
}

void GenericThread::RequestStop() noexcept {
    if (m_stop) m_stop->Request();
}

bool GenericThread::Stop(const StopReport& report) noexcept {
    if (!Started()) return true;
    RequestStop();
    const bool ended = m_id != GetCurrentThreadId() &&
                       AwaitExit([this](DWORD ms) { return WaitAnsweringSentMessages(m_handle.Get(), ms); },
                                 [&](int attempt) { Report(report, attempt); });
    if (!ended) {
        NORIX_LOG("GenericThread::Stop", 1, "%s thread (id = %d) is abandoned.", m_name.c_str(),
                  static_cast<int>(m_id));
    }
    m_handle.Reset();
    m_id = 0;
    m_stop.reset();
    return ended;
}

void GenericThread::Report(const StopReport& report, int attempt) const noexcept {
    const auto handle = static_cast<unsigned>(reinterpret_cast<uintptr_t>(m_handle.Get()));
    const StopWait wait{attempt, handle, static_cast<int>(m_id)};
    if (report) {
        report(wait);
        return;
    }
    NORIX_LOG("GenericThread::Stop", 1, "[%02d] Wait for %s thread (handle = 0x%08X, id = %d) to exit.",
              wait.attempt, m_name.c_str(), wait.handle, wait.id);
}

}  // namespace util
