#include "codec/StaticInit.h"

extern "C" {
#include <libavutil/log.h>
}

#include <atomic>
#include <cstdarg>
#include <cstring>

namespace codec {

namespace {

std::atomic<LogHook> g_hook{nullptr};
std::atomic<int> g_maxLevel{AV_LOG_WARNING};

void OnLibraryLog(void* source, int level, const char* format, va_list arguments) {
    // The library's level carries a colour in its upper bytes.
    const int plainLevel = level & 0xff;
    const LogHook hook = g_hook.load(std::memory_order_acquire);
    if (!hook || plainLevel > g_maxLevel.load(std::memory_order_relaxed)) return;
    char line[512];
    int atLineStart = 1;
    av_log_format_line2(source, plainLevel, format, arguments, line, sizeof line, &atLineStart);
    line[std::strcspn(line, "\r\n")] = '\0';
    if (line[0] != '\0') hook(plainLevel, line);
}

}  // namespace

int StaticInit() {
    if (!__builtin_cpu_supports("sse2")) return kStaticInitNoSse2;
    av_log_set_callback(OnLibraryLog);
    return kStaticInitOk;
}

void SetLogHook(LogHook hook, int maxLevel) {
    g_maxLevel.store(maxLevel, std::memory_order_relaxed);
    g_hook.store(hook, std::memory_order_release);
    av_log_set_callback(OnLibraryLog);
}

}  // namespace codec
