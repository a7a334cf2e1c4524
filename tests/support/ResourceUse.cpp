#include "tests/support/ResourceUse.h"

#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <array>
#include <vector>

#include "util/Handles.h"

namespace {

constexpr auto kThreadQuerySetWin32StartAddress = static_cast<THREADINFOCLASS>(9);
using QueryThread = NTSTATUS(WINAPI*)(HANDLE, THREADINFOCLASS, PVOID, ULONG, PULONG);

// True for a thread that runs code of the program's or of the control's from its start. The system keeps
// threads for sound, calls between apartments and the like for as long as the process lives.
bool IsOurs(DWORD thread) {
    static const auto query = reinterpret_cast<QueryThread>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationThread")));
    const util::UniqueHandle opened(OpenThread(THREAD_QUERY_INFORMATION, FALSE, thread));
    void* start = nullptr;
    HMODULE module = nullptr;
    if (!opened || query(opened.Get(), kThreadQuerySetWin32StartAddress, &start, sizeof(start), nullptr) < 0)
        return false;  // it has ended meanwhile
    constexpr DWORD kByAddress =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(kByAddress, static_cast<const wchar_t*>(start), &module)) return true;
    wchar_t path[MAX_PATH] = {}, system[MAX_PATH] = {};
    GetModuleFileNameW(module, path, MAX_PATH);
    const std::size_t length = GetSystemDirectoryW(system, MAX_PATH);
    return _wcsnicmp(path, system, length) != 0;
}

long CountThreads() {
    const util::UniqueFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    long count = 0;
    for (BOOL more = Thread32First(snapshot.Get(), &entry); more;
         more = Thread32Next(snapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId() && IsOurs(entry.th32ThreadID)) ++count;
    }
    return count;
}

BOOL CALLBACK CountWindow(HWND window, LPARAM count) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == GetCurrentProcessId()) ++*reinterpret_cast<long*>(count);
    return TRUE;
}

BOOL CALLBACK CountTopLevel(HWND window, LPARAM count) {
    CountWindow(window, count);
    EnumChildWindows(window, &CountWindow, count);
    return TRUE;
}

long CountWindows() {
    long count = 0;
    EnumWindows(&CountTopLevel, reinterpret_cast<LPARAM>(&count));
    EnumChildWindows(HWND_MESSAGE, &CountWindow, reinterpret_cast<LPARAM>(&count));
    return count;
}

// GetProcessHandleCount and GetGuiResources answer 0 under Wine. What can be seen everywhere is which slots
// of a handle table are taken: new objects fill the free ones from wherever they are, so among enough of them
// the highest slot tells how far the table has grown.
constexpr size_t kProbes = 256;

template <class Create, class Destroy>
long HighestSlot(Create create, Destroy destroy) {
    std::array<ULONG_PTR, kProbes> objects{};
    for (auto& object : objects)
        object = reinterpret_cast<ULONG_PTR>(create());
    long highest = 0;
    for (const auto object : objects)
        highest = std::max(highest, static_cast<long>(object & 0xFFFF));
    for (const auto object : objects)
        destroy(object);
    return highest;
}

void CountHeap(long& blocks, long& bytes) {
    std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr));
    heaps.resize(
        std::min<size_t>(heaps.size(), GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data())));
    for (const HANDLE heap : heaps) {
        if (!HeapLock(heap)) continue;
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heap, &entry)) {
            if (!(entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)) continue;
            ++blocks;
            bytes += static_cast<long>(entry.cbData);
        }
        HeapUnlock(heap);
    }
}

}  // namespace

ResourceUse ResourceUse::Now() {
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        DispatchMessageW(&message);

    ResourceUse use{};
    constexpr long kHandleStep = 4;  // two bits of a handle are the caller's
    use.handleSlots = HighestSlot([] { return CreateEventW(nullptr, FALSE, FALSE, nullptr); },
                                  [](ULONG_PTR event) { CloseHandle(reinterpret_cast<HANDLE>(event)); }) /
                      kHandleStep;
    use.threads = CountThreads();
    use.windows = CountWindows();
    use.gdiSlots = HighestSlot([] { return CreatePen(PS_SOLID, 1, 0); },
                               [](ULONG_PTR pen) { DeleteObject(reinterpret_cast<HGDIOBJ>(pen)); });
    use.userSlots = HighestSlot([] { return CreateMenu(); },
                                [](ULONG_PTR menu) { DestroyMenu(reinterpret_cast<HMENU>(menu)); });
    CountHeap(use.heapBlocks, use.heapBytes);
    return use;
}

std::ostream& operator<<(std::ostream& out, const ResourceUse& use) {
    return out << "handle slots " << use.handleSlots << ", threads " << use.threads << ", windows "
               << use.windows << ", GDI slots " << use.gdiSlots << ", USER slots " << use.userSlots
               << ", heap blocks " << use.heapBlocks << ", heap bytes " << use.heapBytes;
}
