#include "codec/StaticInit.h"

extern "C" {
#include <libavutil/log.h>
}

#include <cstdarg>

namespace codec {

namespace {

void DiscardLibraryLog(void*, int, const char*, va_list) {}

}  // namespace

int StaticInit() {
    if (!__builtin_cpu_supports("sse2")) return kStaticInitNoSse2;
    av_log_set_callback(DiscardLibraryLog);
    return kStaticInitOk;
}

}  // namespace codec
