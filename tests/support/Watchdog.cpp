// Linked into every test program: when one hangs, it writes the stacks of all its threads to the standard
// error and ends, shortly before ctest would end it without a word. ctest says in the environment how many
// seconds it has.

#include <cstdlib>

#ifdef _WIN32

#include <windows.h>

#include <tlhelp32.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "util/Handles.h"

namespace {

constexpr int kExitCode = 70;
constexpr std::size_t kWords = 4096;  // of a stack that are looked at
constexpr int kMostFrames = 40;

// Only the process's end frees these: a hanging thread may hold the heap's lock.
std::array<DWORD_PTR, kWords> g_stack;

void Print(const char* text, int length) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
}

// Module and offset when the address is code, which objdump and addr2line understand.
bool PrintIfCode(DWORD_PTR address) {
    MEMORY_BASIC_INFORMATION region;
    if (VirtualQuery(reinterpret_cast<const void*>(address), &region, sizeof region) == 0) return false;
    constexpr DWORD kExecutable = PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE;
    if (region.Type != MEM_IMAGE || (region.Protect & kExecutable) == 0) return false;
    char path[MAX_PATH] = "";
    GetModuleFileNameA(static_cast<HMODULE>(region.AllocationBase), path, MAX_PATH);
    const char* const separator = std::strrchr(path, '\\');
    char line[MAX_PATH + 40];
    const unsigned offset =
        static_cast<unsigned>(address - reinterpret_cast<DWORD_PTR>(region.AllocationBase));
    Print(line, std::snprintf(line, sizeof line, "    %s+0x%x\n", separator ? separator + 1 : path, offset));
    return true;
}

// Without frame pointers a stack can't be walked: everything on it that looks like a return address is told.
void PrintThread(DWORD id) {
    const util::UniqueHandle thread(OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT, FALSE, id));
    if (!thread || SuspendThread(thread.Get()) == static_cast<DWORD>(-1)) return;
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    std::size_t words = 0;
    if (GetThreadContext(thread.Get(), &context)) {
        SIZE_T bytes = 0;
        for (std::size_t wanted = sizeof g_stack; wanted >= 1024 && bytes == 0; wanted /= 2)
            ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<const void*>(context.Esp), g_stack.data(),
                              wanted, &bytes);
        words = bytes / sizeof g_stack[0];
    }
    ResumeThread(thread.Get());
    char line[40];
    Print(line, std::snprintf(line, sizeof line, "thread %lu\n", id));
    PrintIfCode(context.Eip);
    for (std::size_t i = 0, frames = 0; i < words && frames < kMostFrames; ++i)
        frames += PrintIfCode(g_stack[i]);
}

DWORD WINAPI Watch(void* milliseconds) {
    Sleep(static_cast<DWORD>(reinterpret_cast<DWORD_PTR>(milliseconds)));
    constexpr char kTitle[] = "the test program hangs; its threads:\n";
    Print(kTitle, sizeof kTitle - 1);
    const util::UniqueFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot.Get(), &entry); more;
         more = Thread32Next(snapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId() && entry.th32ThreadID != GetCurrentThreadId())
            PrintThread(entry.th32ThreadID);
    }
    TerminateProcess(GetCurrentProcess(), kExitCode);
    return 0;
}

void Start(unsigned seconds) {
    const util::UniqueHandle thread(
        CreateThread(nullptr, 0, &Watch, reinterpret_cast<void*>(DWORD_PTR{seconds} * 1000), 0, nullptr));
}

}  // namespace

#else

#include <dirent.h>
#include <execinfo.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>

// Sanitizers name functions and lines.
extern "C" __attribute__((weak)) void __sanitizer_print_stack_trace();

namespace {

constexpr int kExitCode = 70;
std::atomic<int> g_printed{0};  // threads so far; by all of them

void PrintStack(int) {
    std::fprintf(stderr, "thread %ld\n", syscall(SYS_gettid));
    if (__sanitizer_print_stack_trace != nullptr) {
        __sanitizer_print_stack_trace();
    } else {
        void* frames[64];
        backtrace_symbols_fd(frames, backtrace(frames, 64), STDERR_FILENO);
    }
    ++g_printed;
}

void PrintAll(int) {
    std::fprintf(stderr, "the test program hangs; its threads:\n");
    PrintStack(0);
    if (DIR* const tasks = opendir("/proc/self/task")) {
        while (const dirent* const entry = readdir(tasks)) {
            const long id = std::atol(entry->d_name);
            if (id <= 0 || id == syscall(SYS_gettid)) continue;
            const int before = g_printed;
            syscall(SYS_tgkill, getpid(), id, SIGUSR2);
            // One after the other; a thread that can't answer is passed over.
            for (int wait = 0; wait < 200 && g_printed == before; ++wait)
                usleep(10'000);
        }
    }
    _exit(kExitCode);
}

void Start(unsigned seconds) {
    void* frame = nullptr;
    backtrace(&frame, 1);  // loads what it needs now, not amid a hang
    signal(SIGUSR2, &PrintStack);
    signal(SIGALRM, &PrintAll);
    alarm(seconds);
}

}  // namespace

#endif

namespace {

const bool g_started = [] {
    const char* const seconds = std::getenv("NORIX_TEST_SECONDS");
    if (seconds != nullptr && std::atoi(seconds) > 0) Start(static_cast<unsigned>(std::atoi(seconds)));
    return true;
}();

}  // namespace
