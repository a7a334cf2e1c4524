#pragma once

namespace codec {

/// Results of StaticInit.
inline constexpr int kStaticInitOk = 0;
inline constexpr int kStaticInitNoSse2 = 1;  ///< the processor lacks SSE2, which this library is compiled for

/// Prepares the library for the process: checks the processor and silences the libraries underneath (see
/// SetLogHook). Call it before anything else of this namespace; further calls, from any thread, only repeat
/// the answer. With a non-zero answer no other function of the library may be called.
int StaticInit();

/// Receives the messages of the libraries underneath: `level` as libavutil numbers it (16 error, 24 warning,
/// 32 info; smaller is graver), `line` without line end, valid during the call only. Called on decoding
/// threads, at any time; it must not call back into the library and must not throw.
using LogHook = void (*)(int level, const char* line);

/// Installs the hook; null (the initial state) discards all messages before they are formatted. Only messages
/// at `maxLevel` or graver are passed on.
void SetLogHook(LogHook hook, int maxLevel = 24);

}  // namespace codec
