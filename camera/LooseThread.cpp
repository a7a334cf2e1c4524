#include "camera/LooseThread.h"

#include <windows.h>

#include <atomic>
#include <memory>

#include "util/Handles.h"
#include "util/Log.h"

namespace norix {
namespace {

// Enough for WinInet with its TLS, and little beside the address space of a host when many are stuck.
constexpr DWORD kStackBytes = 512u << 10;

std::atomic<int> g_running{0};

class RunningCount {
  public:
    RunningCount() : m_taken(g_running.fetch_add(1) < kMaxLooseThreads) {}
    ~RunningCount() { g_running.fetch_sub(1); }
    RunningCount(const RunningCount&) = delete;
    RunningCount& operator=(const RunningCount&) = delete;

    bool Taken() const { return m_taken; }

  private:
    const bool m_taken;
};

// A reference to the module that holds this code. For the main program it counts nothing.
util::UniqueModule ReferenceOwnModule() {
    static const char s_anchor = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&s_anchor), &module);
    return util::UniqueModule(module);
}

// What the thread is handed, and owns.
struct Launch {
    std::function<void()> body;
    util::UniqueModule module;
    RunningCount count;
};

DWORD WINAPI Main(void* parameter) noexcept {
    HMODULE module = nullptr;
    {
        const std::unique_ptr<Launch> launch(static_cast<Launch*>(parameter));
        launch->body();
        module = launch->module.Release();
    }  // The body and its captures are gone before the code that destroys them may be.
    if (module) FreeLibraryAndExitThread(module, 0);
    return 0;
}

}  // namespace

bool StartLooseThread(std::function<void()> body) {
    auto launch = std::make_unique<Launch>();
    if (!launch->count.Taken()) {
        NORIX_LOG("StartLooseThread", 1, "%d threads are stuck already", kMaxLooseThreads);
        return false;
    }
    launch->body = std::move(body);
    launch->module = ReferenceOwnModule();
    const util::UniqueHandle thread(
        CreateThread(nullptr, kStackBytes, &Main, launch.get(), STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    if (!thread) return false;
    static_cast<void>(launch.release());  // the thread's now
    return true;
}

}  // namespace norix
