#include "DebugOutputReader.h"

#include <cstring>
#include <mutex>

namespace util::test {
namespace {

// The shared section's layout is the system's.
struct Buffer {
    DWORD processId;
    char text[4096 - sizeof(DWORD)];
};

constexpr char kMarker[] = "DebugOutputReader: everything before this is in";

}  // namespace

DebugOutputReader::DebugOutputReader(std::function<void(const std::string&)> onLine)
    : m_onLine(std::move(onLine)),
      m_bufferReady(CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY")),
      m_dataReady(CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY")),
      m_mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Buffer),
                                   L"DBWIN_BUFFER")) {
    SetEvent(m_bufferReady.Get());
    m_thread.Reset(CreateThread(nullptr, 0, &Main, this, 0, nullptr));
}

DebugOutputReader::~DebugOutputReader() {
    m_stop.Set();
    WaitForSingleObject(m_thread.Get(), INFINITE);
}

std::vector<std::string> DebugOutputReader::Lines() {
    // The output takes one text at a time, so that the second marker only goes out when the first has been
    // read.
    OutputDebugStringA(kMarker);
    OutputDebugStringA(kMarker);
    const std::lock_guard lock(m_lock);
    return m_lines;
}

DWORD WINAPI DebugOutputReader::Main(void* self) {
    static_cast<DebugOutputReader*>(self)->Read();
    return 0;
}

void DebugOutputReader::Read() {
    const auto* const buffer =
        static_cast<const Buffer*>(MapViewOfFile(m_mapping.Get(), FILE_MAP_READ, 0, 0, sizeof(Buffer)));
    const HANDLE events[] = {m_dataReady.Get(), m_stop.Get()};
    while (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0) {
        const std::string line(buffer->text, strnlen(buffer->text, sizeof buffer->text));
        if (buffer->processId == GetCurrentProcessId() && line != kMarker) {
            {
                const std::lock_guard lock(m_lock);
                m_lines.push_back(line);
            }
            if (m_onLine) m_onLine(line);
        }
        SetEvent(m_bufferReady.Get());
    }
    UnmapViewOfFile(buffer);
}

}  // namespace util::test
