#include "util/LooseThread.h"

#include <atomic>
#include <memory>
#include <utility>

#include "util/Log.h"

#ifdef _WIN32
#include "util/OwnModule.h"
#else
#include <system_error>
#include <thread>
#endif

namespace util {
namespace {

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

// What the thread is handed, and owns.
struct Launch {
    std::function<void()> body;
    RunningCount count;
#ifdef _WIN32
    UniqueModule module;
#endif
};

#ifdef _WIN32

// Enough for WinInet with its TLS, and little beside the address space of a host when many are stuck.
constexpr DWORD kStackBytes = 512u << 10;

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

bool StartDetached(std::unique_ptr<Launch> launch) {
    launch->module = ReferenceOwnModule();
    const UniqueHandle thread(
        CreateThread(nullptr, kStackBytes, &Main, launch.get(), STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    if (!thread) return false;
    static_cast<void>(launch.release());  // the thread's now
    return true;
}

#else

bool StartDetached(std::unique_ptr<Launch> launch) {
    try {
        std::thread([launch = std::move(launch)] { launch->body(); }).detach();
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

#endif

}  // namespace

bool StartLooseThread(std::function<void()> body) {
    auto launch = std::make_unique<Launch>();
    if (!launch->count.Taken()) {
        NORIX_LOG("StartLooseThread", 1, "%d threads are stuck already", kMaxLooseThreads);
        return false;
    }
    launch->body = std::move(body);
    return StartDetached(std::move(launch));
}

}  // namespace util
